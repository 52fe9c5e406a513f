#include "SimulatedMac/World/JsonText.h"

#include "SimulatedMac/World/InputError.h"
#include "SimulatedMac/World/Message.h"
#include "SimulatedMac/World/UTF8.h"

#include <vector>

namespace simulated_mac {
namespace {

using nlohmann::json;

/// Builds the value from what the parser finds in the text, one after the other.
class Builder final : public json::json_sax_t {
public:
    explicit Builder(std::string source) : source_(std::move(source)) {}

    [[nodiscard]] json& result() { return root_; }

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(value); }
    bool number_unsigned(number_unsigned_t value) override { return add(value); }
    bool number_float(number_float_t value, const string_t&) override { return add(value); }
    bool binary(binary_t&) override { return false; }

    bool string(string_t& text) override { return add(std::move(text)); }

    bool key(string_t& key) override {
        open_.back().key = key;
        if (key.find('\0') != std::string::npos) {
            reject("holds a U+0000");
        }
        if (open_.back().container->contains(key)) {
            reject("given twice");
        }
        return true;
    }

    bool start_object(std::size_t) override { return enter(json::object()); }
    bool start_array(std::size_t) override { return enter(json::array()); }
    bool end_object() override { return leave(); }
    bool end_array() override { return leave(); }

    bool parse_error(std::size_t byte, const std::string&, const json::exception& error) override {
        constexpr int numberOverflow = 406;
        if (error.id == numberOverflow) {
            reject("number out of range");
        }
        throw InputError(source_ + ": not valid JSON at byte " + std::to_string(byte));
    }

private:
    /// An array or object whose end has not been seen yet.
    struct Open {
        json* container;
        std::string key; ///< of an object's member that was begun last
    };

    /// Where the value stands that comes next, or is just being entered.
    [[nodiscard]] std::string place() const {
        std::string place;
        for (const Open& open : open_) {
            // An array that holds an unfinished one counts it already.
            const std::size_t unfinished = &open == &open_.back() ? 0 : 1;
            place += open.container->is_array()
                         ? "[" + std::to_string(open.container->size() - unfinished) + "]"
                         : (place.empty() ? "" : ".") + shown(open.key);
        }
        return place;
    }

    [[noreturn]] void reject(const std::string& problem) const {
        throw InputError(source_ + ": " + (open_.empty() ? "" : place() + ": ") + problem);
    }

    json& put(json value) {
        if (open_.empty()) {
            return root_ = std::move(value);
        }
        json& container = *open_.back().container;
        return container.is_array() ? container.emplace_back(std::move(value))
                                    : container[open_.back().key] = std::move(value);
    }

    bool add(json value) {
        put(std::move(value));
        return true;
    }

    bool enter(json container) {
        if (open_.size() == deepestNesting) {
            reject("nested deeper than " + std::to_string(deepestNesting));
        }
        json* const entered = &put(std::move(container));
        open_.push_back({entered, {}});
        return true;
    }

    bool leave() {
        open_.pop_back();
        return true;
    }

    std::string source_;
    json root_;
    std::vector<Open> open_;
};

void requireText(const std::string& text, const std::string& source) {
    if (const std::size_t valid = validPrefix(text); valid < text.size()) {
        throw InputError(source + ": not valid UTF-8 at byte " + std::to_string(valid + 1));
    }
    // The parser would take it for the end of the text.
    if (const std::size_t null = text.find('\0'); null != std::string::npos) {
        throw InputError(source + ": not valid JSON at byte " + std::to_string(null + 1));
    }
}

} // namespace

json parseJson(const std::string& text, const std::string& source) {
    requireText(text, source);
    Builder builder(source);
    json::sax_parse(text, &builder);
    return std::move(builder.result());
}

} // namespace simulated_mac
