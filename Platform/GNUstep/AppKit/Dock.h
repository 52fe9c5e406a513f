#pragma once

/// Shows the application's icon at the middle of the screen's lower edge, or takes it away.
void showInDock(bool isShown);
