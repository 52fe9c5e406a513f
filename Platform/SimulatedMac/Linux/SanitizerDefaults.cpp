// What a build under sanitizers starts with.

extern "C" {

const char* __asan_default_options();
const char* __lsan_default_options();

// A stack of an allocation ends in GNUstep, which is built without frame pointers, and names would
// be looked up at the end of every process, for the suppressions: five times the time of a whole
// test. For a report with both, run the test again with
// ASAN_OPTIONS=fast_unwind_on_malloc=0:symbolize=1.
const char* __asan_default_options() {
    return "symbolize=0";
}

// By the library that calls the allocator, as names are not looked up. GCC's Objective-C runtime
// never frees what it allocates when it loads a class or adds to one. GNUstep never frees the
// patterns and sets of its fonts; fontconfig calls nobody's code. Its back end keeps a few bytes of
// the X connection for good when the program was given words.
const char* __lsan_default_suppressions() {
    return "leak:libobjc.so\nleak:libfontconfig\nleak:libgnustep-cairo\n";
}

// Standard error is the program's own.
const char* __lsan_default_options() {
    return "print_suppressions=0";
}

} // extern "C"
