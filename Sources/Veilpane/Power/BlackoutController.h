#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <map>
#include <optional>
#include <vector>

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
    struct State {
        std::optional<CGDirectDisplayID> mirroredFrom; ///< the mirror master
        std::vector<CGGammaValue> savedRed;            ///< empty when it could not be read
        std::vector<CGGammaValue> savedGreen;
        std::vector<CGGammaValue> savedBlue;
        bool zeroedDDCBrightness = false;
        bool usedMirror = false;
    };

    BlackoutController() = default;

    [[nodiscard]] static std::optional<CGDirectDisplayID>
    pickMirrorSource(CGDirectDisplayID excluded);
    [[nodiscard]] static bool startMirror(CGDirectDisplayID slave, CGDirectDisplayID master);
    static void saveAndZeroGamma(CGDirectDisplayID displayID, State& state);
    [[nodiscard]] static bool zeroBrightness(CGDirectDisplayID displayID);
    static void restoreGamma(CGDirectDisplayID displayID, const State& state);
    static void forceUnmirrorIfNeeded(CGDirectDisplayID displayID);

    [[nodiscard]] std::optional<State> takeState(CGDirectDisplayID displayID);
    [[nodiscard]] std::vector<CGDirectDisplayID> blackedOutDisplays() const;

    std::map<CGDirectDisplayID, State> states_;
};
