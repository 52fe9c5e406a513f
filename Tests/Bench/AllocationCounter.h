#pragma once

/// How often the process has allocated memory since it started, in whatever library.
long allocationCount();
