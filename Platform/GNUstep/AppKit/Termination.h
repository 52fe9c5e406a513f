#pragma once

/// Lets a modal window keep the application from terminating, as AppKit does.
void terminateAsOnAMac();
