#pragma once

#include "Veilpane/Power/PowerMethod.h"

#include <string>

/// The outcome of switching a display.
struct PowerResult {
    PowerMethod method;  ///< the mechanism that acted or refused
    bool success;        ///< the display reached the wanted state, or was in it already
    std::string message; ///< the user-facing outcome

    bool operator==(const PowerResult&) const = default;
};
