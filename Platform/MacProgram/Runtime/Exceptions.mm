#include "MacProgram/Runtime/Exceptions.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Runtime/ObjectiveCLibrary.h"
#include "MacProgram/Runtime/Refusal.h"
#include "MacProgram/Unwinding/HandlerTable.h"

#include <cstdint>
#include <map>
#include <vector>

namespace mac_program {
namespace {

/// What GCC's runtime throws.
struct ThrownObject {
    _Unwind_Exception header;
    id object;
};

constexpr _Unwind_Exception_Class thrownByRuntime = 0x474E55434F424A43; // GNUCOBJC

bool isObject(const _Unwind_Exception* exception) {
    return exception->exception_class == thrownByRuntime;
}

id objectOf(_Unwind_Exception* exception) {
    return isObject(exception) ? reinterpret_cast<ThrownObject*>(exception)->object : nil;
}

/// What the program's tables of handlers and its functions are.
struct ProgramHandlers {
    const Image* image = nullptr;
    Bytes tables;
    std::map<std::uint64_t, std::uint64_t> ends; ///< of functions, by their beginnings
};

ProgramHandlers& programHandlers() {
    [[clang::no_destroy]] static ProgramHandlers handlers;
    return handlers;
}

// Only libraries have classes that exceptions are of.
const void* typeAt(const void* place) {
    const Image& image = *programHandlers().image;
    const void* const type = image.object<const void*>(place, "a handler's type");
    if (!image.symbolAt(place).starts_with("_OBJC_EHTYPE_$_")) {
        throw BadProgram("a handler's type is none that is known here");
    }
    return type;
}

// A handler for a class takes no exception of another language; one for anything does.
bool takes(const void* place, _Unwind_Exception* exception) {
    if (place == nullptr) {
        return true;
    }
    const void* const type = typeAt(place);
    return isObject(exception) && catches(type, objectOf(exception));
}

FunctionRange functionOf(_Unwind_Context* context) {
    const std::uint64_t begin = _Unwind_GetRegionStart(context);
    return {begin, programHandlers().ends.at(begin)};
}

Landing landingOf(_Unwind_Context* context, _Unwind_Exception* exception) {
    // The place is where the call returns to, which may be past the function's end.
    int isTheInstruction = 0;
    const std::uint64_t place = _Unwind_GetIPInfo(context, &isTheInstruction);
    const auto table = reinterpret_cast<std::uint64_t>(_Unwind_GetLanguageSpecificData(context));
    try {
        return HandlerTable(programHandlers().tables, table, functionOf(context))
            .landingFor(place - (isTheInstruction != 0 ? 0 : 1),
                        [&](const void* type) { return takes(type, exception); });
    } catch (const BadProgram& reason) {
        refuse(reason.what());
    }
}

std::vector<_Unwind_Exception*>& caughtNow() {
    [[clang::no_destroy]] thread_local std::vector<_Unwind_Exception*> exceptions;
    return exceptions;
}

} // namespace

void adoptHandlers(const Image& image, const std::vector<FunctionFrame>& functions) {
    programHandlers() = {&image, image.section("__gcc_except_tab"), {}};
    for (const FunctionFrame& function : functions) {
        programHandlers().ends[function.begin] = function.end;
    }
}

_Unwind_Reason_Code personality(int, _Unwind_Action actions, _Unwind_Exception_Class,
                                _Unwind_Exception* exception, _Unwind_Context* context) {
    const Landing landing = landingOf(context, exception);
    if ((actions & _UA_SEARCH_PHASE) != 0) {
        return landing.isHandler ? _URC_HANDLER_FOUND : _URC_CONTINUE_UNWIND;
    }
    if (landing.place == 0) {
        return _URC_CONTINUE_UNWIND;
    }
    _Unwind_SetGR(context, __builtin_eh_return_data_regno(0),
                  reinterpret_cast<std::uint64_t>(exception));
    _Unwind_SetGR(context, __builtin_eh_return_data_regno(1),
                  static_cast<std::uint64_t>(landing.selector));
    _Unwind_SetIP(context, landing.place);
    return _URC_INSTALL_CONTEXT;
}

void* beginCatch(void* exception) {
    auto* const caught = static_cast<_Unwind_Exception*>(exception);
    caughtNow().push_back(caught);
    return objectOf(caught);
}

void endCatch() {
    _Unwind_Exception* const done = caughtNow().back();
    caughtNow().pop_back();
    _Unwind_DeleteException(done);
}

} // namespace mac_program
