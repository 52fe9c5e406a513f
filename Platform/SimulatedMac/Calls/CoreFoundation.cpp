// The CoreFoundation objects that registry properties are made of. On a Mac the real CoreFoundation
// takes this file's place.

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Ledger.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cmath>
#include <cstring>
#include <deque>
#include <ranges>
#include <string>
#include <utility>
#include <variant>
#include <vector>

using namespace simulated_mac;

// The compiler lays string literals out as objects of this class.
extern "C" int __CFConstantStringClassReference[64];
int __CFConstantStringClassReference[64] = {};

namespace {

enum Type : CFTypeID {
    stringType = 7,
    dictionaryType = 18,
    arrayType = 19,
    dataType = 20,
    booleanType = 21,
    numberType = 22
};

struct ConstantString {
    const void* isa;
    int flags;
    const void* characters;
    long length; // bytes, or UTF-16 units
};
constexpr int utf16Flags = 0x7D0;

using Elements = std::vector<CFTypeRef>;
using Entries = std::vector<std::pair<CFTypeRef, CFTypeRef>>;

struct Object {
    const void* isa;
    Type type;
    std::variant<bool, int64_t, double, std::string, std::vector<UInt8>, Elements, Entries> value;
};

const char objectClass = 0;

// Objects stay where they are after their last release, so that a use after it is told for certain.
std::deque<Object>& objects() {
    static auto& all = *new std::deque<Object>;
    return all;
}

const char* nameOf(Type type) {
    switch (type) {
    case stringType:
        return "CFString";
    case dictionaryType:
        return "CFDictionary";
    case arrayType:
        return "CFArray";
    case dataType:
        return "CFData";
    case booleanType:
        return "CFBoolean";
    case numberType:
        return "CFNumber";
    }
    return "CFType";
}

template <class Ref, class Value>
Ref make(Type type, Value value) {
    objects().push_back({&objectClass, type, std::move(value)});
    const Object* const object = &objects().back();
    ledger::opened(Resource::cfObject, ledger::handle(object), nameOf(type));
    return reinterpret_cast<Ref>(const_cast<Object*>(object));
}

bool isConstantString(CFTypeRef object) {
    return *static_cast<const void* const*>(object) ==
           static_cast<const void*>(__CFConstantStringClassReference);
}

const Object trueObject = {&objectClass, booleanType, true};
const Object falseObject = {&objectClass, booleanType, false};

bool isImmortal(CFTypeRef object) {
    return isConstantString(object) || object == &trueObject || object == &falseObject;
}

// NULL, a released object and an object of another type crash on a Mac as well.
const Object& objectFor(CFTypeRef object, const char* call) {
    if (object == nullptr) {
        crash(call, "NULL");
    }
    if (!isImmortal(object)) {
        ledger::requireOpen(Resource::cfObject, ledger::handle(object), call);
    }
    return *static_cast<const Object*>(object);
}

template <class Value>
const Value& valueOf(CFTypeRef object, const char* call) {
    const Value* const value = std::get_if<Value>(&objectFor(object, call).value);
    if (value == nullptr) {
        crash(call, "object of another type");
    }
    return *value;
}

void appendUTF8(std::string& text, uint32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
        text += static_cast<char>(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | character >> 12);
        text += static_cast<char>(0x80 | (character >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (character & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | character >> 18);
        text += static_cast<char>(0x80 | (character >> 12 & 0x3F));
        text += static_cast<char>(0x80 | (character >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (character & 0x3F));
    }
}

std::string utf8FromUTF16(const UniChar* units, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        uint32_t character = units[i];
        if (character >= 0xD800 && character < 0xDC00 && i + 1 < count) {
            character = 0x10000 + ((character - 0xD800) << 10) + (units[++i] - 0xDC00u);
        }
        appendUTF8(text, character);
    }
    return text;
}

std::string textOf(CFTypeRef object, const char* call) {
    if (object == nullptr || !isConstantString(object)) {
        return valueOf<std::string>(object, call);
    }
    const auto& literal = *static_cast<const ConstantString*>(object);
    const auto length = static_cast<std::size_t>(literal.length);
    if (literal.flags == utf16Flags) {
        return utf8FromUTF16(static_cast<const UniChar*>(literal.characters), length);
    }
    return {static_cast<const char*>(literal.characters), length};
}

std::size_t utf16Length(const std::string& text) {
    std::size_t units = 0;
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        units += (value & 0xC0) == 0x80 ? 0 : value >= 0xF0 ? 2 : 1;
    }
    return units;
}

bool isUTF8(const std::string& text) {
    // Strings of scenes come out of a JSON reader, which has checked them; bytes from elsewhere
    // need only be told apart roughly.
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i++]);
        const int more = lead < 0x80    ? 0
                         : lead >= 0xF0 ? 3
                         : lead >= 0xE0 ? 2
                         : lead >= 0xC2 ? 1
                                        : -1;
        for (int k = 0; k < more; ++k) {
            if (i == text.size() || (static_cast<unsigned char>(text[i++]) & 0xC0) != 0x80) {
                return false;
            }
        }
        if (more < 0) {
            return false;
        }
    }
    return true;
}

bool areEqual(CFTypeRef a, CFTypeRef b) {
    return a == b || (CFGetTypeID(a) == stringType && CFGetTypeID(b) == stringType &&
                      textOf(a, "CFEqual") == textOf(b, "CFEqual"));
}

template <class Number>
bool storeTruncated(void* target, int64_t exact) {
    const auto value = static_cast<Number>(exact);
    std::memcpy(target, &value, sizeof value);
    return static_cast<int64_t>(value) == exact;
}

bool storeAs(CFNumberType type, void* target, int64_t exact, const char* call) {
    switch (type) {
    case kCFNumberSInt32Type:
        return storeTruncated<SInt32>(target, exact);
    case kCFNumberSInt64Type:
        return storeTruncated<int64_t>(target, exact);
    case kCFNumberFloat64Type: {
        const auto value = static_cast<double>(exact);
        std::memcpy(target, &value, sizeof value);
        return true;
    }
    default:
        crash(call, "number type " + std::to_string(type) + " is not simulated");
    }
}

// What no 64 bits hold becomes their limit, as Apple's processors convert it.
int64_t wholePart(double value) {
    if (value >= 0x1p63) {
        return INT64_MAX;
    }
    return value < -0x1p63 ? INT64_MIN : static_cast<int64_t>(value);
}

// A lossy conversion writes its best attempt (documented) with the low bits kept (published
// source).
bool storeNumber(CFNumberRef number, CFNumberType type, void* target, const char* call) {
    const Object& object = objectFor(number, call);
    if (const auto* const exact = std::get_if<int64_t>(&object.value)) {
        return storeAs(type, target, *exact, call);
    }
    const double value = valueOf<double>(number, call);
    if (type == kCFNumberFloat64Type) {
        std::memcpy(target, &value, sizeof value);
        return true;
    }
    return storeAs(type, target, wholePart(value), call) && std::trunc(value) == value;
}

nlohmann::json shown(CFTypeRef object) {
    return CFGetTypeID(object) == stringType
               ? nlohmann::json(textOf(object, "log"))
               : nlohmann::json(nameOf(static_cast<Type>(CFGetTypeID(object))));
}

} // namespace

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFBooleanRef kCFBooleanTrue = reinterpret_cast<CFBooleanRef>(&trueObject);
const CFBooleanRef kCFBooleanFalse = reinterpret_cast<CFBooleanRef>(&falseObject);
const CFArrayCallBacks kCFTypeArrayCallBacks = {};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {};

CFTypeRef CFRetain(CFTypeRef object) {
    const Object& retained = objectFor(object, __func__);
    if (!isImmortal(object)) {
        ledger::opened(Resource::cfObject, ledger::handle(object), nameOf(retained.type));
    }
    return object;
}

void CFRelease(CFTypeRef object) {
    objectFor(object, __func__);
    if (isImmortal(object)) {
        return;
    }
    ledger::closed(Resource::cfObject, ledger::handle(object), __func__);
    if (ledger::references(Resource::cfObject, ledger::handle(object)) > 0) {
        return;
    }
    auto& released = *const_cast<Object*>(static_cast<const Object*>(object));
    if (const auto* const elements = std::get_if<Elements>(&released.value)) {
        for (const CFTypeRef element : *elements) {
            CFRelease(element);
        }
    }
    if (const auto* const entries = std::get_if<Entries>(&released.value)) {
        for (const auto& [key, value] : *entries) {
            CFRelease(key);
            CFRelease(value);
        }
    }
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    if (object != nullptr && isConstantString(object)) {
        return stringType;
    }
    return objectFor(object, __func__).type;
}

CFTypeID CFBooleanGetTypeID() {
    return booleanType;
}
CFTypeID CFNumberGetTypeID() {
    return numberType;
}
CFTypeID CFDataGetTypeID() {
    return dataType;
}
CFTypeID CFStringGetTypeID() {
    return stringType;
}
CFTypeID CFArrayGetTypeID() {
    return arrayType;
}
CFTypeID CFDictionaryGetTypeID() {
    return dictionaryType;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    Call call(__func__, nlohmann::json::array());
    const bool value = valueOf<bool>(boolean, __func__);
    return call.returns<Boolean>(value);
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    Call call(__func__, {type});
    if (call.failed()) {
        return call.returns(call.failure<Boolean>());
    }
    return call.returns<Boolean>(storeNumber(number, type, value, __func__));
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
    if (type == kCFNumberFloat64Type) {
        double number = 0;
        std::memcpy(&number, value, sizeof number);
        return make<CFNumberRef>(numberType, number);
    }
    if (type != kCFNumberSInt64Type) {
        crash(__func__, "number type " + std::to_string(type) + " is not simulated");
    }
    int64_t number = 0;
    std::memcpy(&number, value, sizeof number);
    return make<CFNumberRef>(numberType, number);
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    return make<CFDataRef>(dataType, std::vector<UInt8>(bytes, bytes + length));
}

CFIndex CFDataGetLength(CFDataRef data) {
    Call call(__func__, nlohmann::json::array());
    const auto& bytes = valueOf<std::vector<UInt8>>(data, __func__);
    return call.returns(static_cast<CFIndex>(bytes.size()));
}

void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer) {
    const Call call(__func__, {range.location, range.length});
    const auto& bytes = valueOf<std::vector<UInt8>>(data, __func__);
    if (range.location < 0 || range.length < 0 ||
        range.location + range.length > static_cast<CFIndex>(bytes.size())) {
        crash(__func__, "range beyond the data");
    }
    std::copy_n(bytes.begin() + range.location, range.length, buffer);
}

CFIndex CFStringGetLength(CFStringRef string) {
    Call call(__func__, nlohmann::json::array());
    return call.returns(static_cast<CFIndex>(utf16Length(textOf(string, __func__))));
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    Call call(__func__, {length, encoding});
    return call.returns(encoding == kCFStringEncodingUTF8 ? length * 3 : CFIndex(-1));
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
    Call call(__func__, {bufferSize, encoding});
    if (call.failed()) {
        return call.returns(call.failure<Boolean>());
    }
    const std::string text = textOf(string, __func__);
    if (encoding != kCFStringEncodingUTF8 || static_cast<CFIndex>(text.size()) >= bufferSize) {
        return call.returns<Boolean>(false);
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    call.note("text", text);
    return call.returns<Boolean>(true);
}

// Of whole texts in UTF-8 only: it converts all of one, or, where the buffer is too small, nothing.
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
    Call call(__func__, {range.location, range.length, encoding, maxBufLen});
    if (call.failed()) {
        return call.returns(call.failure<CFIndex>());
    }
    const std::string text = textOf(string, __func__);
    const auto units = static_cast<CFIndex>(utf16Length(text));
    if (range.location != 0 || range.length != units) {
        crash(__func__, "not the whole text");
    }
    if (lossByte != 0 || isExternalRepresentation) {
        crash(__func__, "not the text as it is");
    }
    const auto size = static_cast<CFIndex>(text.size());
    if (encoding != kCFStringEncodingUTF8 || (buffer != nullptr && size > maxBufLen)) {
        *usedBufLen = 0;
        return call.returns(CFIndex(0));
    }
    if (buffer != nullptr) {
        std::memcpy(buffer, text.data(), text.size());
    }
    *usedBufLen = size;
    call.note("text", text);
    return call.returns(units);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean) {
    std::string text(bytes, bytes + count);
    return encoding == kCFStringEncodingUTF8 && isUTF8(text)
               ? make<CFStringRef>(stringType, std::move(text))
               : nullptr;
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count,
                         const CFArrayCallBacks*) {
    Elements elements;
    for (CFIndex i = 0; i < count; ++i) {
        elements.push_back(CFRetain(values[i]));
    }
    return make<CFArrayRef>(arrayType, std::move(elements));
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks*,
                                   const CFDictionaryValueCallBacks*) {
    Entries entries;
    for (CFIndex i = 0; i < count; ++i) {
        entries.emplace_back(CFRetain(keys[i]), CFRetain(values[i]));
    }
    return make<CFDictionaryRef>(dictionaryType, std::move(entries));
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    Call call(__func__, nlohmann::json::array());
    return call.returns(static_cast<CFIndex>(valueOf<Elements>(array, __func__).size()));
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    Call call(__func__, {index});
    const auto& elements = valueOf<Elements>(array, __func__);
    if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) {
        crash(__func__, "index beyond the array");
    }
    if (call.failed() || call.yieldsNull()) {
        return call.returns<const void*>(nullptr, nullptr);
    }
    const void* const element = elements[static_cast<std::size_t>(index)];
    return call.returns<const void*>(element, shown(element));
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    Call call(__func__, nlohmann::json::array());
    const auto& entries = valueOf<Entries>(dictionary, __func__);
    return call.returns(static_cast<CFIndex>(entries.size()));
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    Call call(__func__, {shown(key)});
    if (call.failed() || call.yieldsNull()) {
        return call.returns<const void*>(nullptr, nullptr);
    }
    for (const auto& [entryKey, value] : valueOf<Entries>(dictionary, __func__)) {
        if (areEqual(entryKey, key)) {
            return call.returns<const void*>(value, shown(value));
        }
    }
    return call.returns<const void*>(nullptr, nullptr);
}

// In an order that is not the keys', as on a Mac.
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values) {
    const Call call(__func__, nlohmann::json::array());
    std::size_t i = 0;
    for (const auto& [key, value] : std::views::reverse(valueOf<Entries>(dictionary, __func__))) {
        keys[i] = key;
        values[i++] = value;
    }
}

} // extern "C"
