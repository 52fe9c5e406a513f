#pragma once

/// How the tests of an executable are run one after another, each in a process of its own that is a
/// copy of this one: what is set up here is set up for all.
struct TestProcesses {
    int jobs = 2;         ///< so many tests at once
    bool screens = false; ///< each job's tests draw on one screen that nobody sees
};

/// Runs the tests that GoogleTest's filter lets through. A line for each goes to standard output,
/// and all that a failing one printed. One that takes longer than five minutes, or ten under
/// sanitizers, is killed with all that it started. The result is an exit status.
int runInProcesses(const TestProcesses& how);
