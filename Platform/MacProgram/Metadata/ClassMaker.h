#pragma once

#include "MacProgram/Image/Image.h"
#include "MacProgram/Metadata/Formats.h"

#include <objc/objc.h>

#include <map>

namespace mac_program {

/// Makes classes of the runtime out of the program's descriptions. The runtime keeps them for good.
class ClassMaker {
public:
    /// The image must outlive it.
    explicit ClassMaker(const Image& image) : image_(image) {}

    /// Makes a class, and before it those of its superclasses that are the program's own. Throws
    /// BadProgram.
    Class make(const MacClass* described);

    /// What the reference of the program at `place` leads to: a class that was made, or one of the
    /// libraries, to which it is bound already. Throws BadProgram for anything else.
    Class classFor(const void* const* place) const;

private:
    const MacClassDescription& descriptionOf(const MacClass& described) const;
    Class madeOf(const void* described) const;
    Class superclassOf(const MacClass& described);
    std::uint64_t inheritedSize(const MacClass& described) const;
    void requireFittingFlags(const MacClass& described) const;
    void requireFittingSizes(const MacClass& described) const;
    void requireFittingMetaclass(const MacClass& described) const;
    void addVariables(Class made, const MacClassDescription& description) const;
    void addMethods(Class made, const MacClassDescription& description) const;
    void addProtocols(Class made, const MacClassDescription& description) const;
    void writeOffsets(Class made, const MacClassDescription& description) const;
    std::span<const std::uint8_t> offsetOf(const MacInstanceVariable& variable) const;
    std::string nameOf(const MacClassDescription& description) const;
    std::span<const MacMethod> methodsOf(const MacClassDescription& description) const;
    std::span<const MacInstanceVariable> variablesOf(const MacClassDescription& description) const;
    template <class Element>
    std::span<const Element> elementsOf(const MacList* list, std::string_view what) const;

    const Image& image_;
    std::map<const void*, Class> made_; // null while it is being made
};

} // namespace mac_program
