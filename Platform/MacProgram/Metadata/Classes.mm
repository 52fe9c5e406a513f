#include "MacProgram/Metadata/Classes.h"

#include "MacProgram/Metadata/ClassMaker.h"
#include "MacProgram/Processor/Imports.h"

#include <objc/runtime.h>

namespace mac_program {
namespace {

// Version and flags of what the compiler wrote; that of several files lies one after the other.
void requireKnownVersion(const Image& image) {
    struct Information {
        std::uint32_t version;
        std::uint32_t flags;
    };
    constexpr std::uint32_t hasClassProperties = 0x40;
    for (const Information& each : image.elements<Information>("__objc_imageinfo")) {
        if (each.version != 0 || (each.flags & ~hasClassProperties) != 0) {
            throw BadProgram("its Objective-C is of a kind that is not known here");
        }
    }
}

void replaceClasses(std::span<const void*> references, ClassMaker& maker) {
    for (const void*& reference : references) {
        reference = maker.classFor(&reference);
    }
}

} // namespace

void registerClasses(const Image& image) {
    requireKnownVersion(image);
    ClassMaker maker(image);
    for (const MacClass* const each : image.elements<const MacClass*>("__objc_classlist")) {
        maker.make(each);
    }
    replaceClasses(image.elements<const void*>("__objc_classrefs"), maker);
    replaceClasses(image.elements<const void*>("__objc_superrefs"), maker);
    for (const char*& selector : image.elements<const char*>("__objc_selrefs")) {
        const std::string name = methodFor(image.text(selector, "a selector"));
        selector = reinterpret_cast<const char*>(sel_registerName(name.c_str()));
    }
}

} // namespace mac_program
