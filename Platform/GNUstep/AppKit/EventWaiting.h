#pragma once

/// Makes the application look into Xlib's own queue now and then while it waits for an event. An
/// answer of the X server may bring events along into that queue, and GNUstep waits for the
/// connection only, so that they would be noticed with the next event, or never.
void watchXlibsQueue();
