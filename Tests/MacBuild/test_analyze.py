#!/usr/bin/env python3
"""What the static analysis finds in files that were made wrong, and that it leaves good ones alone."""
import pathlib
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "Scripts" / "analyze.sh"
INCLUDES = """#import <Foundation/Foundation.h>
#include <IOKit/IOKitLib.h>
#include <string>
#include <utility>
"""
PROPERTY = "IORegistryEntryCreateCFProperty(entry, CFSTR(\"x\"), kCFAllocatorDefault, 0)"
WRONG = {
    "a CoreFoundation object that is not released": f"""
CFTypeID typeOf(io_registry_entry_t entry) {{
    CFTypeRef property = {PROPERTY};
    return property == nullptr ? 0 : CFGetTypeID(property);
}}""",
    "an Objective-C object that is not released": """
NSUInteger count() {
    NSMutableArray* array = [[NSMutableArray alloc] init];
    [array addObject:@"x"];
    return [array count];
}""",
    "an Objective-C object that is released without being owned": """
void release() {
    NSString* text = [NSString stringWithUTF8String:"x"];
    [text release];
}""",
    "a CoreFoundation object that is used after its release": f"""
CFTypeID typeOf(io_registry_entry_t entry) {{
    CFTypeRef property = {PROPERTY};
    if (property == nullptr) {{
        return 0;
    }}
    CFRelease(property);
    return CFGetTypeID(property);
}}""",
    "a null pointer that is read": """
int valueAt(const int* place) {
    return place == nullptr ? *place : 0;
}""",
    "a moved-from object that is used": """
std::size_t sizeAfter(std::string text) {
    const std::string taken = std::move(text);
    return taken.size() + text.size();
}""",
}
GOOD = f"""
void use(io_registry_entry_t entry) {{
    if (CFTypeRef property = {PROPERTY}) {{
        CFRelease(property);
    }}
    NSMutableArray* array = [[NSMutableArray alloc] init];
    [array release];
}}"""


def analyze(code):
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "planted.mm"
        file.write_text(INCLUDES + code + "\n", encoding="utf-8")
        return subprocess.run(["sh", SCRIPT, file], cwd=folder, capture_output=True, text=True,
                              check=False)


class AnalyzeTest(unittest.TestCase):
    def test_planted_mistakes_are_found(self):
        for mistake, code in WRONG.items():
            with self.subTest(mistake=mistake):
                analyzed = analyze(code)
                self.assertEqual(analyzed.returncode, 1, analyzed.stderr)
                self.assertRegex(analyzed.stderr, r"planted\.mm:\d+:\d+: error: .*\[[a-z]+\.[A-Za-z.]+\]")

    def test_what_is_right_is_left_alone(self):
        analyzed = analyze(GOOD)
        self.assertEqual(analyzed.returncode, 0, analyzed.stderr)


if __name__ == "__main__":
    unittest.main()
