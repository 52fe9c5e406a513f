#pragma once

/// Lets a modal window keep the application from terminating, as AppKit does.
void terminateAsOnAMac();

/// From now on SIGTERM, as a logout sends it here, is a request that waits for the run loop.
void hearRequestsToQuit();
