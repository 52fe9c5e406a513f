#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <map>
#include <optional>
#include <vector>

namespace veilpane {

/// Switches a display off in software: makes it mirror another one so that windows leave it, zeroes
/// its gamma tables so that it shows black and, where DDC works, its brightness.
///
/// What was changed is remembered for the life of the process only. No operation reports a failure;
/// a step that fails is left out. Main thread only.
class BlackoutController {
public:
    static BlackoutController& shared();

    BlackoutController(const BlackoutController&) = delete;
    BlackoutController& operator=(const BlackoutController&) = delete;

    /// Does nothing for a display that is blacked out already, so that the tables saved first stay.
    void blackout(CGDirectDisplayID displayID);

    /// Undoes a BlackOut. Without one it still ends the mirroring of a display that is not the main
    /// one, whoever set that up. Brightness comes back as 100 %, not as it was.
    void restore(CGDirectDisplayID displayID);

    /// Undoes every BlackOut, then ends the mirroring of every online display but the main one.
    void restoreAll();

    [[nodiscard]] bool isBlackedOut(CGDirectDisplayID displayID) const;

private:
    /// What a BlackOut has changed of a display.
    struct State {
        std::optional<CGDirectDisplayID> mirroredFrom; ///< the mirror master
        std::vector<CGGammaValue> savedRed;            ///< empty when it could not be read
        std::vector<CGGammaValue> savedGreen;
        std::vector<CGGammaValue> savedBlue;
        bool zeroedDDCBrightness = false;
        bool usedMirror = false;

        void saveAndZeroGamma(CGDirectDisplayID displayID);
        void restoreBrightness(CGDirectDisplayID displayID) const;
        void restoreGamma(CGDirectDisplayID displayID) const;
    };

    BlackoutController() = default;

    [[nodiscard]] std::vector<CGDirectDisplayID> blackedOutDisplays() const;

    std::map<CGDirectDisplayID, State> states_;
};

} // namespace veilpane
