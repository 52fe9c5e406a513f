#pragma once

/// What Macs differ in, or may differ in as nobody promises it. Each is chosen by an environment
/// variable, as the README says; unset or empty is the value that comes first there, the kind one.
struct Habits {
    bool keysReachItemsWithViews = true;   ///< APPKIT_VIEW_ITEM_KEYS: alive, dead
    bool activationIsGranted = true;       ///< APPKIT_ACTIVATION: granted, refused
    bool rowsAreSizedByConstraints = true; ///< APPKIT_MENU_ROWS: constraints, frames
    bool alertsLiveInTracking = true;      ///< APPKIT_ALERT_IN_MENU: alive, dead
    bool menusLookKey = true;              ///< APPKIT_MENU_SWITCHES: coloured, grey
};

/// The environment's, read once. A value that is none of a variable's own, or an unknown variable
/// whose name starts with APPKIT_, ends the process with one line on standard error and status 2.
const Habits& habits();
