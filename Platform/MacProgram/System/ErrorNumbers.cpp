#include "MacProgram/System/ErrorNumbers.h"

#include "MacProgram/Runtime/Refusal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

namespace mac_program {
namespace {

// Up to here both systems count as the first Unix did, but for EAGAIN.
constexpr int lastCommonNumber = ERANGE;

constexpr std::pair<int, int> otherNumbers[] = {
    {EAGAIN, 35}, {EDEADLK, 11},   {ENAMETOOLONG, 63}, {ENOSYS, 78},    {ENOTEMPTY, 66},
    {ELOOP, 62},  {EOVERFLOW, 84}, {EILSEQ, 92},       {ETIMEDOUT, 60}, {ENOTSUP, 45}};

} // namespace

int macErrorNumber(int error) {
    const auto other = std::ranges::find(otherNumbers, error, &std::pair<int, int>::first);
    if (other != std::end(otherNumbers)) {
        return other->second;
    }
    if (error > lastCommonNumber) {
        refuse("error number " + std::to_string(error) + " is not known here");
    }
    return error;
}

int describeError(int macError, char* text, std::size_t size) {
    const auto other = std::ranges::find(otherNumbers, macError, &std::pair<int, int>::second);
    const bool isKnown = other != std::end(otherNumbers) || macError <= lastCommonNumber;
    if (!isKnown) {
        return macErrorNumber(EINVAL);
    }
    const std::string description =
        std::strerror(other == std::end(otherNumbers) ? macError : other->first);
    if (size > 0) {
        text[description.copy(text, size - 1)] = '\0';
    }
    return macErrorNumber(description.size() < size ? 0 : ERANGE);
}

// The C library here only ever sets its own number when something fails. So that the next failure
// can be told from what the program has stored meanwhile, its number is taken away.
int* errorNumberPlace() {
    thread_local int number = 0;
    if (errno != 0) {
        number = macErrorNumber(errno);
        errno = 0;
    }
    return &number;
}

} // namespace mac_program
