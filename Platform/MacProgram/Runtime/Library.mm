#include "MacProgram/Runtime/Library.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Frameworks/Frameworks.h"
#include "MacProgram/Runtime/ObjectiveCLibrary.h"
#include "MacProgram/System/SystemLibrary.h"

#include <algorithm>
#include <objc/runtime.h>
#include <optional>

namespace mac_program {
namespace {

constexpr std::string_view classPrefix = "_OBJC_CLASS_$_";
constexpr std::string_view metaclassPrefix = "_OBJC_METACLASS_$_";
constexpr std::string_view exceptionPrefix = "_OBJC_EHTYPE_$_";

const Library& requireLibrary(const std::string& installName) {
    [[clang::no_destroy]] static const std::vector<Library> all = {
        appKit(), foundation(), coreFoundation(), coreGraphics(),
        ioKit(),  objectiveC(), systemLibrary()};
    const auto found = std::ranges::find(all, installName, &Library::installName);
    if (found == all.end()) {
        throw BadProgram("library " + installName + " is not known here");
    }
    return *found;
}

Class requireClass(const Library& library, std::string_view name) {
    if (std::ranges::find(library.classes, name) != library.classes.end()) {
        if (id const found = objc_getClass(std::string(name).c_str())) {
            return reinterpret_cast<Class>(found);
        }
    }
    throw BadProgram("class " + std::string(name) + " is not known here");
}

// A metaclass is only asked for where the program tells what its own classes inherit, which their
// superclasses tell as well.
std::optional<Symbol> classSymbol(const Library& library, const std::string& symbol) {
    for (const std::string_view prefix : {classPrefix, metaclassPrefix}) {
        if (symbol.starts_with(prefix)) {
            return data(symbol, requireClass(library, symbol.substr(prefix.size())));
        }
    }
    if (symbol.starts_with(exceptionPrefix)) {
        return data(symbol,
                    exceptionType(requireClass(library, symbol.substr(exceptionPrefix.size()))));
    }
    return std::nullopt;
}

} // namespace

Symbol requireSymbol(const std::string& library, const std::string& symbol) {
    const Library& known = requireLibrary(library);
    if (const auto found = classSymbol(known, symbol)) {
        return *found;
    }
    const auto found = std::ranges::find(known.symbols, symbol, &Symbol::name);
    if (found == known.symbols.end()) {
        throw BadProgram(symbol + " of " + library + " is not known here");
    }
    return *found;
}

} // namespace mac_program
