#pragma once

namespace safety {

/// Makes the shipped program's application delegate and tells it what AppKit does at the end.
void tellDelegateOfTermination();

} // namespace safety
