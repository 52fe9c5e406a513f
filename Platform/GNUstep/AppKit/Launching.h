#pragma once

/// Lets a launch end as on a Mac: words of the command line are opened as documents, and an
/// application whose delegate says nothing about restorable state is warned of.
void finishLaunchingAsOnAMac();
