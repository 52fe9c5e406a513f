#pragma once

/// Has Foundation set up now what it sets up at its first use, so that processes that are forked
/// afterwards need not, each for itself.
void warmFoundation();

/// Likewise for the order of texts. It remains that of the locale of now.
void warmCollation();
