#include "MacProgram/Metadata/ClassMaker.h"

#include "MacProgram/File/Hexadecimal.h"
#include "MacProgram/Processor/Processor.h"

#include <algorithm>
#include <cstring>
#include <objc/runtime.h>

namespace mac_program {
namespace {

enum ClassFlags : std::uint32_t {
    isMetaclass = 0x1,
    hasConstructors = 0x4,
    isHidden = 0x10,
    hasDestructorOnly = 0x100,
    known = isMetaclass | hasConstructors | isHidden | hasDestructorOnly
};

bool hasMethod(std::span<const MacMethod> methods, const Image& image, std::string_view name) {
    return std::ranges::any_of(methods, [&](const MacMethod& method) {
        return image.text(method.name, "a method's name") == name;
    });
}

constexpr std::uint32_t greatestAlignment = 4;

std::uint64_t aligned(std::uint64_t offset, std::uint32_t exponent) {
    const std::uint64_t unit = std::uint64_t{1} << exponent;
    return (offset + unit - 1) / unit * unit;
}

Class metaclassOf(Class made) {
    return object_getClass(reinterpret_cast<id>(made));
}

} // namespace

Class ClassMaker::make(const MacClass* described) {
    const MacClass& object = image_.object<MacClass>(described, "a class");
    const auto [entry, isNew] = made_.try_emplace(described, Nil);
    if (!isNew) {
        return madeOf(described);
    }
    const MacClassDescription& description = descriptionOf(object);
    const MacClass& metaclass = image_.object<MacClass>(object.isa, "a metaclass");
    requireFittingFlags(object);
    requireFittingMetaclass(object);
    Class const superclass = superclassOf(object);
    requireFittingSizes(object);
    const std::string name = nameOf(description);
    Class const made = objc_allocateClassPair(superclass, name.c_str(), 0);
    if (made == Nil) {
        throw BadProgram("there is a class " + name + " already");
    }
    addVariables(made, description);
    addMethods(made, description);
    addMethods(metaclassOf(made), descriptionOf(metaclass));
    addProtocols(made, description);
    objc_registerClassPair(made);
    writeOffsets(made, description);
    made_[described] = made;
    made_[object.isa] = metaclassOf(made);
    return made;
}

Class ClassMaker::classFor(const void* const* place) const {
    if (image_.symbolAt(place).starts_with("_OBJC_CLASS_$_")) {
        return static_cast<Class>(const_cast<void*>(*place));
    }
    return madeOf(*place);
}

Class ClassMaker::madeOf(const void* described) const {
    const auto found = made_.find(described);
    if (found == made_.end() || found->second == Nil) {
        throw BadProgram("a reference to a class leads to none");
    }
    return found->second;
}

const MacClassDescription& ClassMaker::descriptionOf(const MacClass& described) const {
    return image_.object<MacClassDescription>(described.description, "a class's description");
}

Class ClassMaker::superclassOf(const MacClass& described) {
    if (!image_.contains(described.superclass)) {
        return classFor(&described.superclass);
    }
    return make(static_cast<const MacClass*>(described.superclass));
}

std::string ClassMaker::nameOf(const MacClassDescription& description) const {
    return image_.text(description.name, "a class's name");
}

// Of the objects of a library's class it is only known that they begin with their class.
std::uint64_t ClassMaker::inheritedSize(const MacClass& described) const {
    if (!image_.contains(described.superclass)) {
        return sizeof described.isa;
    }
    return descriptionOf(image_.object<MacClass>(described.superclass, "a class")).instanceSize;
}

// The offsets that the file holds are replaced by those that are right here. On a Mac they are used
// unless what is inherited has grown.
void ClassMaker::requireFittingSizes(const MacClass& described) const {
    const MacClassDescription& description = descriptionOf(described);
    std::uint64_t end = description.instanceBegin;
    for (const MacInstanceVariable& variable : variablesOf(description)) {
        const std::string name = image_.text(variable.name, "an instance variable's name");
        const auto place = offsetOf(variable);
        std::uint64_t offset = 0;
        std::memcpy(&offset, place.data(), place.size());
        if (variable.alignment > greatestAlignment || offset != aligned(end, variable.alignment)) {
            throw BadProgram("instance variable " + name + " does not fit");
        }
        end = offset + variable.size;
    }
    if (description.instanceBegin < inheritedSize(described) || description.instanceSize != end) {
        throw BadProgram("the sizes of class " + nameOf(description) + " do not fit");
    }
}

void ClassMaker::requireFittingMetaclass(const MacClass& described) const {
    const MacClassDescription& description = descriptionOf(described);
    const MacClassDescription& meta =
        descriptionOf(image_.object<MacClass>(described.isa, "a metaclass"));
    if (meta.flags != (description.flags | isMetaclass)) {
        throw BadProgram("the flags " + hexadecimal(meta.flags) + " of the metaclass of " +
                         nameOf(description) + " do not fit");
    }
    if (meta.instanceBegin != sizeof(MacClass) || meta.instanceSize != sizeof(MacClass) ||
        meta.variables != nullptr) {
        throw BadProgram("the sizes of the metaclass of " + nameOf(description) + " do not fit");
    }
}

// A Mac's runtime constructs and destroys C++ variables only where the flags say that there are
// some; the one here looks for the methods.
void ClassMaker::requireFittingFlags(const MacClass& described) const {
    const MacClassDescription& description = descriptionOf(described);
    const auto methods = methodsOf(description);
    const bool constructs = hasMethod(methods, image_, ".cxx_construct");
    const bool destroys = hasMethod(methods, image_, ".cxx_destruct");
    const bool says = (description.flags & hasConstructors) != 0;
    const bool saysDestroysOnly = (description.flags & hasDestructorOnly) != 0;
    if ((description.flags & ~known) != 0 || (description.flags & isMetaclass) != 0 ||
        constructs != (says && !saysDestroysOnly) || destroys != says) {
        throw BadProgram("the flags " + hexadecimal(description.flags) + " of class " +
                         nameOf(description) + " do not fit");
    }
}

template <class Element>
std::span<const Element> ClassMaker::elementsOf(const MacList* list, std::string_view what) const {
    if (list == nullptr) {
        return {};
    }
    const MacList& header = image_.object<MacList>(list, what);
    if (header.elementSize != sizeof(Element)) {
        throw BadProgram(std::string(what) + " is of a kind that is not known here");
    }
    return image_.array<Element>(&header + 1, header.count, what);
}

std::span<const MacMethod> ClassMaker::methodsOf(const MacClassDescription& description) const {
    return elementsOf<MacMethod>(description.methods, "a list of methods");
}

std::span<const MacInstanceVariable>
ClassMaker::variablesOf(const MacClassDescription& description) const {
    return elementsOf<MacInstanceVariable>(description.variables, "a list of instance variables");
}

std::span<const std::uint8_t> ClassMaker::offsetOf(const MacInstanceVariable& variable) const {
    return image_.array<std::uint8_t>(variable.offset, thisProcessor.instanceVariableOffsetSize,
                                      "an instance variable's offset");
}

void ClassMaker::addVariables(Class made, const MacClassDescription& description) const {
    for (const MacInstanceVariable& variable : variablesOf(description)) {
        const std::string name = image_.text(variable.name, "an instance variable's name");
        const std::string type = image_.text(variable.type, "an instance variable's type");
        if (!class_addIvar(made, name.c_str(), variable.size,
                           static_cast<unsigned char>(variable.alignment), type.c_str())) {
            throw BadProgram("instance variable " + name + " does not fit");
        }
    }
}

void ClassMaker::addMethods(Class made, const MacClassDescription& description) const {
    for (const MacMethod& method : methodsOf(description)) {
        const std::string name = image_.text(method.name, "a method's name");
        const std::string types = image_.text(method.types, "a method's type");
        if (!image_.contains(reinterpret_cast<const void*>(method.implementation))) {
            throw BadProgram("method " + name + " lies outside the program");
        }
        if (!class_addMethod(made, sel_registerTypedName(name.c_str(), types.c_str()),
                             reinterpret_cast<IMP>(method.implementation), types.c_str())) {
            throw BadProgram("method " + name + " is there twice");
        }
    }
}

// Foundation's own protocols are known here only where GNUstep's libraries use them. None of them
// has a method that is called without asking first whether it is there.
void ClassMaker::addProtocols(Class made, const MacClassDescription& description) const {
    if (description.protocols == nullptr) {
        return;
    }
    const auto& list = image_.object<MacProtocolList>(description.protocols, "a protocol list");
    for (const MacProtocol* const each :
         image_.array<const MacProtocol*>(&list + 1, list.count, "a protocol list")) {
        const auto& protocol = image_.object<MacProtocol>(each, "a protocol");
        const std::string name = image_.text(protocol.name, "a protocol's name");
        if (Protocol* const known = objc_getProtocol(name.c_str())) {
            class_addProtocol(made, known);
        }
    }
}

// The code asks where a variable lies, as the size of what it inherits is known only now.
void ClassMaker::writeOffsets(Class made, const MacClassDescription& description) const {
    for (const MacInstanceVariable& variable : variablesOf(description)) {
        const auto place = offsetOf(variable);
        Ivar const added = class_getInstanceVariable(
            made, image_.text(variable.name, "an instance variable's name").c_str());
        const auto offset = static_cast<std::uint64_t>(ivar_getOffset(added));
        std::memcpy(const_cast<std::uint8_t*>(place.data()), &offset, place.size());
    }
}

} // namespace mac_program
