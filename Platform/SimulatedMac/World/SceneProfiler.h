#pragma once

#include <string>

namespace simulated_mac {

class Field;
struct Scene;

/// How the system profiler behaves beside what it prints.
struct ProfilerManners {
    double delay = 0;          ///< seconds before it prints
    int exit = 0;              ///< its exit status
    int signal = 0;            ///< the signal that ends it once it has printed; 0 for none
    std::string standardError; ///< what it prints there
    /// Its output stays open in another process after it has ended, while someone reads it.
    bool keepOpen = false;
};

/// Reads "profiler" into the scene. Throws SceneError.
void readProfiler(const Field& field, Scene& scene);

} // namespace simulated_mac
