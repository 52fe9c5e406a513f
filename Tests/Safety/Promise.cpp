#include "Safety/Promise.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace safety {
namespace {

using nlohmann::json;

constexpr const char* skyLightPath =
    "/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight";
constexpr const char* coreGraphicsPath =
    "/System/Library/Frameworks/CoreGraphics.framework/CoreGraphics";
constexpr const char* rememberedKey = "Veilpane.disconnectedDisplayIDs";

constexpr int forSession = 1;
constexpr int permanently = 2;

std::int32_t codeOf(const LoggedCall& call) {
    return static_cast<std::int32_t>(call.result.get<std::int64_t>());
}

bool succeeded(const LoggedCall& call) {
    return codeOf(call) == 0;
}

bool contains(const auto& ids, std::uint32_t id) {
    return std::ranges::find(ids, id) != ids.end();
}

std::string described(const LoggedCall& call) {
    return call.call + call.args.dump();
}

std::string configFailed(std::int32_t code) {
    return "显示配置失败 CGError " + std::to_string(code);
}

std::string slsFailed(std::int32_t code) {
    return "SLSConfigureDisplayEnabled 失败 CGError " + std::to_string(code);
}

bool isOfABus(const std::string& call) {
    return call.starts_with("IO") || call.starts_with("CF") || call == "dlclose" ||
           call == "CGDisplayIOServicePort" || call == "CGDisplayVendorNumber" ||
           call == "CGDisplayModelNumber";
}

bool isOfTheProfiler(const std::string& call) {
    static const std::set<std::string> calls = {"pipe", "fcntl", "posix_spawn", "read", "waitpid"};
    return calls.contains(call);
}

std::string trueOrFalse(bool value) {
    return value ? "true" : "false";
}

// An array with anything else in it counts as none.
std::set<std::uint32_t> idsIn(const json& stored) {
    std::set<std::uint32_t> ids;
    for (const json& element : stored) {
        const bool isID = element.is_number() && element >= 0 && element <= UINT32_MAX &&
                          element.get<double>() == element.get<std::uint32_t>();
        if (!isID) {
            return {};
        }
        ids.insert(element.get<std::uint32_t>());
    }
    return ids;
}

} // namespace

std::string messageBytes(std::uint8_t code, std::uint16_t value) {
    std::array<std::uint8_t, 7> bytes = {0x51, 0x84, 0x03, code, 0, 0, 0};
    bytes[4] = static_cast<std::uint8_t>(value >> 8);
    bytes[5] = static_cast<std::uint8_t>(value & 0xFF);
    bytes[6] = static_cast<std::uint8_t>(bytes[3] ^ bytes[4] ^ bytes[5] ^ 0xB8);
    std::string text;
    for (const std::uint8_t byte : bytes) {
        std::array<char, 3> digits = {};
        std::snprintf(digits.data(), digits.size(), "%02X", byte);
        text += digits.data();
    }
    return text;
}

bool isTakenMessage(const LoggedCall& call) {
    return call.call == "IOI2CSendRequest" && succeeded(call) &&
           !call.notes.contains("requestResult");
}

const LoggedCall& Promise::next(const std::string& name, const json& arguments) {
    if (!nextIs(name, arguments)) {
        const std::string made =
            place_ < calls_.size() ? described(calls_[place_]) : std::string("nothing");
        throw BrokenPromise("call " + std::to_string(place_ + 1) + " is " + made + " instead of " +
                            name + arguments.dump());
    }
    return calls_[place_++];
}

bool Promise::nextIs(const std::string& name, const json& arguments) const {
    if (place_ >= calls_.size() || calls_[place_].call != name ||
        calls_[place_].args.size() < arguments.size()) {
        return false;
    }
    const json& made = calls_[place_].args;
    return std::equal(arguments.begin(), arguments.end(), made.begin());
}

void Promise::requireEnd() const {
    if (place_ < calls_.size()) {
        throw BrokenPromise("call " + std::to_string(place_ + 1) + " is " +
                            described(calls_[place_]) + " instead of nothing");
    }
}

bool Promise::yes(const char* question, std::uint32_t id) {
    return !succeeded(next(question, {id}));
}

bool Promise::skyLightHas(const char* symbol) {
    return next("dlopen", {skyLightPath, 1}).result == true &&
           next("dlsym", {symbol}).result == true;
}

std::optional<Promise::IDs> Promise::list(const char* name, std::uint32_t capacity) {
    const LoggedCall& call = next(name, {capacity});
    if (!succeeded(call)) {
        return std::nullopt;
    }
    // A call that says nothing of its list has left the caller's array and count as they were.
    IDs ids = call.notes.value("displays", IDs());
    ids.resize(std::min(call.notes.value("count", capacity), capacity));
    return ids;
}

Promise::IDs Promise::known() {
    if (skyLightHas("SLSGetDisplayList")) {
        const LoggedCall& counted = next("SLSGetDisplayList", {0});
        const std::uint32_t count = succeeded(counted) ? counted.notes.value("count", 0U) : 0;
        if (count >= 1 && count <= 63) {
            return list("SLSGetDisplayList", count).value_or(IDs());
        }
    }
    return list("CGGetOnlineDisplayList", 32).value_or(IDs());
}

bool Promise::softDisconnected(std::uint32_t id) {
    if (!contains(known(), id)) {
        return false;
    }
    const auto online = list("CGGetOnlineDisplayList", 32);
    return !online || !contains(*online, id);
}

void Promise::load() {
    if (!memory_.remembered) {
        memory_.remembered = idsIn(next("NSUserDefaults.arrayForKey", {rememberedKey}).result);
    }
}

bool Promise::disconnectedByUs(std::uint32_t id) {
    load();
    return memory_.remembered->contains(id) && softDisconnected(id);
}

std::optional<int> Promise::begin(std::int32_t& error) {
    const LoggedCall& call = next("CGBeginDisplayConfiguration", json::array());
    error = codeOf(call);
    return error == 0 && call.notes.contains("config") ? std::optional(call.notes["config"])
                                                       : std::nullopt;
}

Promise::Failure Promise::configure(Change change, int& config) {
    const LoggedCall& call =
        next("SLSConfigureDisplayEnabled", {config, change.id, change.enabled});
    if (succeeded(call)) {
        return std::nullopt;
    }
    next("CGCancelDisplayConfiguration", {config});
    return slsFailed(codeOf(call));
}

Promise::Failure Promise::apply(Change change) {
    std::int32_t error = 0;
    auto config = begin(error);
    if (!config) {
        return configFailed(error);
    }
    if (auto failure = configure(change, *config)) {
        return failure;
    }
    const std::int32_t firstError =
        codeOf(next("CGCompleteDisplayConfiguration", {*config, permanently}));
    if (firstError == 0) {
        return std::nullopt;
    }
    config = begin(error);
    if (!config) {
        return configFailed(firstError);
    }
    if (auto failure = configure(change, *config)) {
        return failure;
    }
    error = codeOf(next("CGCompleteDisplayConfiguration", {*config, forSession}));
    if (error == 0) {
        return std::nullopt;
    }
    next("CGCancelDisplayConfiguration", {*config});
    return configFailed(error);
}

Promise::Failure Promise::setEnabled(Change change) {
    if (!skyLightHas("SLSConfigureDisplayEnabled")) {
        return "SLSConfigureDisplayEnabled 不可用（需要 Apple Silicon + SkyLight）";
    }
    if (auto failure = apply(change)) {
        return failure;
    }
    load();
    if (change.enabled) {
        memory_.remembered->erase(change.id);
    } else {
        memory_.remembered->insert(change.id);
    }
    next("NSUserDefaults.setObject", {json(*memory_.remembered), rememberedKey});
    return std::nullopt;
}

bool Promise::mirror(std::uint32_t id, std::uint32_t master) {
    std::int32_t error = 0;
    const auto config = begin(error);
    if (!config) {
        return false;
    }
    if (!succeeded(next("CGConfigureDisplayMirrorOfDisplay", {*config, id, master}))) {
        next("CGCancelDisplayConfiguration", {*config});
        return false;
    }
    return succeeded(next("CGCompleteDisplayConfiguration", {*config, forSession}));
}

void Promise::unmirrorIfNeeded(std::uint32_t id) {
    if (yes("CGDisplayIsInMirrorSet", id) && !yes("CGDisplayIsMain", id)) {
        mirror(id, 0);
    }
}

/// What was found on the way to a monitor, and what came of it.
struct Promise::Bus {
    bool framebuffer = false;
    std::uint32_t offered = 0, tried = 0; ///< of its buses
    bool looksAmongChildren = false;
    bool interface = false;
    const LoggedCall* open = nullptr;
    const LoggedCall* send = nullptr;

    void note(const LoggedCall& call);
    [[nodiscard]] bool isExhausted() const { return tried == offered && looksAmongChildren; }

private:
    void noteSearch(const LoggedCall& call);
    void noteFramebuffer(const LoggedCall& call);

    bool searching_ = false;
    json iterator_;
};

// The framebuffer is the one that is asked for its buses when the search has given back its
// iterator, or has needed none.
void Promise::Bus::note(const LoggedCall& call) {
    noteSearch(call);
    if (!searching_) {
        noteFramebuffer(call);
    }
    if (call.call == "IOI2CInterfaceOpen") {
        open = &call;
    } else if (call.call == "IOI2CSendRequest") {
        if (send != nullptr) {
            throw BrokenPromise("two messages where one is due");
        }
        send = &call;
    }
}

void Promise::Bus::noteSearch(const LoggedCall& call) {
    if (call.call == "IOServiceGetMatchingServices") {
        searching_ = true;
    } else if (call.call == "IOIteratorNext" && iterator_.is_null()) {
        iterator_ = call.args[0];
    } else if (call.call == "IOObjectRelease" && call.args[0] == iterator_) {
        searching_ = false;
    }
}

void Promise::Bus::noteFramebuffer(const LoggedCall& call) {
    if (call.call == "IOFBGetI2CInterfaceCount") {
        framebuffer = true;
        offered = call.notes.value("count", 0U);
    } else if (call.call == "IORegistryEntryGetChildIterator") {
        looksAmongChildren = framebuffer;
    } else if (call.notes.contains("interface") ||
               (call.call == "IOObjectConformsTo" && framebuffer && call.result != 0)) {
        interface = true;
    } else if (call.call == "IOFBCopyI2CInterfaceForBus") {
        ++tried;
    }
}

Promise::Bus Promise::lookAtBus() {
    Bus bus;
    next("dlopen", {coreGraphicsPath, 1});
    if (nextIs("dlsym", {"CGDisplayIOServicePort"})) {
        ++place_;
    }
    for (; place_ < calls_.size() && isOfABus(calls_[place_].call); ++place_) {
        bus.note(calls_[place_]);
    }
    if (bus.framebuffer && !bus.interface && !bus.isExhausted()) {
        throw BrokenPromise("the search for a bus is given up");
    }
    return bus;
}

bool Promise::canControl() {
    const Bus bus = lookAtBus();
    if (bus.open != nullptr) {
        throw BrokenPromise("a bus is opened for a mere look at it");
    }
    return bus.interface;
}

Promise::Failure Promise::send(std::uint8_t code, std::uint16_t value, std::uint32_t id) {
    const Bus bus = lookAtBus();
    if (!bus.framebuffer) {
        return "找不到显示器 " + std::to_string(id) + " 的 IOFramebuffer（该链路可能不支持 DDC）";
    }
    if (!bus.interface) {
        return "显示器未暴露 I2C/DDC 接口";
    }
    if (bus.open == nullptr) {
        throw BrokenPromise("a bus is found and not opened");
    }
    if (!succeeded(*bus.open) || !bus.open->notes.contains("connection")) {
        return "打开 I2C 失败";
    }
    if (bus.send == nullptr || bus.send->notes.at("bytes") != messageBytes(code, value) ||
        bus.send->notes.at("address") != 0x6E) {
        throw BrokenPromise("the monitor gets another message than " + messageBytes(code, value));
    }
    return isTakenMessage(*bus.send) ? std::nullopt : Failure("DDC 发送失败 (code 4)");
}

std::optional<std::uint32_t> Promise::mirrorSource(std::uint32_t id) {
    IDs candidates = list("CGGetActiveDisplayList", 16).value_or(IDs());
    std::erase_if(candidates, [&](std::uint32_t other) {
        return other == id || !yes("CGDisplayIsActive", other);
    });
    for (const std::uint32_t candidate : candidates) {
        if (yes("CGDisplayIsMain", candidate)) {
            return candidate;
        }
    }
    return candidates.empty() ? std::nullopt : std::optional(candidates.front());
}

void Promise::blackOut(std::uint32_t id) {
    if (memory_.blackouts.contains(id)) {
        return;
    }
    if (const auto master = mirrorSource(id)) {
        mirror(id, *master);
    }
    Memory::Blackout entry;
    entry.tablesSaved = succeeded(next("CGGetDisplayTransferByTable", {id, 256}));
    const LoggedCall& set = next("CGSetDisplayTransferByTable", {id, 256});
    if (set.notes.contains("gamma") && set.notes["gamma"] != "zero") {
        throw BrokenPromise("a BlackOut sets tables that are not zero");
    }
    entry.brightnessZeroed = canControl() && !send(0x10, 0, id);
    memory_.blackouts[id] = entry;
}

void Promise::restore(std::uint32_t id) {
    if (const auto entry = memory_.blackouts.extract(id)) {
        if (entry.mapped().brightnessZeroed) {
            (void)send(0x10, 100, id);
        }
        if (entry.mapped().tablesSaved) {
            next("CGSetDisplayTransferByTable", {id, 256});
        } else {
            next("CGDisplayRestoreColorSyncSettings", json::array());
        }
    }
    unmirrorIfNeeded(id);
}

void Promise::restoreAll() {
    const auto entries = memory_.blackouts;
    for (const auto& [id, entry] : entries) {
        restore(id);
    }
    for (const std::uint32_t id : list("CGGetOnlineDisplayList", 16).value_or(IDs())) {
        unmirrorIfNeeded(id);
    }
}

Outcome Promise::fallBack(std::uint32_t id) {
    std::string prefix;
    if (canControl()) {
        const Failure failure = send(0x0C, 5, id);
        if (!failure) {
            return {ddcTitle, true, "DDC 已发送 Power Off"};
        }
        prefix = "DDC 失败（" + *failure + "），改用";
    }
    blackOut(id);
    return {blackoutTitle, true, prefix + "BlackOut：镜像 + Gamma 归零（软件兜底）"};
}

Outcome Promise::switchOff(std::uint32_t id) {
    if (!skyLightHas("SLSConfigureDisplayEnabled")) {
        return fallBack(id);
    }
    const auto active = list("CGGetActiveDisplayList", 16);
    if (!active || active->size() < 2) {
        return {disconnectTitle, false, "拒绝断开：只剩这一台活动显示器"};
    }
    const Failure failure = setEnabled({false, id});
    if (!failure) {
        restore(id);
        return {disconnectTitle, true, "已断开显示器（SLS，系统设置中将消失）"};
    }
    if (yes("CGDisplayIsMain", id)) {
        return {disconnectTitle, false, "主屏禁止关闭，已阻止"};
    }
    const Outcome fallback = fallBack(id);
    return {fallback.method, fallback.success,
            "SLS 断开失败（" + *failure + "），改用" + fallback.method + "：" + fallback.message};
}

Outcome Promise::switchOn(std::uint32_t id) {
    if (!skyLightHas("SLSConfigureDisplayEnabled")) {
        restore(id);
        return {blackoutTitle, true, "已恢复显示"};
    }
    const Failure failure = setEnabled({true, id});
    restore(id);
    if (failure) {
        return {blackoutTitle, true, "SLS 重连失败（" + *failure + "），已恢复软件显示"};
    }
    if (canControl()) {
        (void)send(0x0C, 1, id);
    }
    return {disconnectTitle, true, "已重新连接显示器（SLS）"};
}

Outcome Promise::setPower(bool on, std::uint32_t id) {
    if (!on && yes("CGDisplayIsMain", id)) {
        return {disconnectTitle, false, "主屏禁止关闭，已阻止"};
    }
    if (disconnectedByUs(id)) {
        if (!on) {
            return {disconnectTitle, true, "显示器已断开"};
        }
        if (const Failure failure = setEnabled({true, id})) {
            return {disconnectTitle, false, "重连失败：" + *failure};
        }
        restore(id);
        return {disconnectTitle, true, "已重新连接显示器"};
    }
    if (!on) {
        return switchOff(id);
    }
    if (!memory_.blackouts.contains(id)) {
        return switchOn(id);
    }
    restore(id);
    if (canControl()) {
        (void)send(0x0C, 1, id);
    }
    return {blackoutTitle, true, "已解除 BlackOut，显示器恢复显示"};
}

std::string Promise::statusLine(std::uint32_t id) {
    if (disconnectedByUs(id)) {
        return "状态：已断开（系统设置不可见）";
    }
    if (memory_.blackouts.contains(id)) {
        return "状态：软件关屏中";
    }
    if (yes("CGDisplayIsMain", id)) {
        return "状态：主屏 · 始终开启";
    }
    if (skyLightHas("SLSConfigureDisplayEnabled")) {
        return "状态：可 SLS 断开";
    }
    return canControl() ? "状态：DDC 可用" : "状态：仅软件 BlackOut";
}

// The names come from the screens and the registry; what they are is not the promise's business.
void Promise::followNames() {
    while (place_ < calls_.size() && !calls_[place_].call.starts_with("IOI2C") &&
           (isOfABus(calls_[place_].call) || calls_[place_].call == "NSScreen.screens")) {
        ++place_;
    }
}

std::vector<ListedDisplay> Promise::listDisplays() {
    while (!memory_.profilerHasRun && place_ < calls_.size() &&
           isOfTheProfiler(calls_[place_].call)) {
        ++place_;
    }
    memory_.profilerHasRun = true;
    IDs candidates = list("CGGetOnlineDisplayList", 32).value_or(IDs());
    load();
    std::erase_if(*memory_.remembered, [this](std::uint32_t id) { return !softDisconnected(id); });
    candidates.insert(candidates.end(), memory_.remembered->begin(), memory_.remembered->end());
    std::vector<ListedDisplay> listed;
    std::set<std::uint32_t> taken;
    for (const std::uint32_t id : candidates) {
        if (!taken.insert(id).second) {
            continue;
        }
        ListedDisplay row = {id};
        row.disconnected = disconnectedByUs(id);
        if (!row.disconnected && !yes("CGDisplayIsOnline", id) && !yes("CGDisplayIsActive", id)) {
            continue;
        }
        if (softDisconnected(id) && !disconnectedByUs(id)) {
            continue;
        }
        followNames();
        row.builtIn = yes("CGDisplayIsBuiltin", id);
        row.main = yes("CGDisplayIsMain", id);
        row.mirrorSlave = yes("CGDisplayIsInMirrorSet", id) && !row.main && !row.disconnected;
        listed.push_back(row);
    }
    return listed;
}

bool comesFirst(const ListedDisplay& a, const ListedDisplay& b) {
    return a.disconnected == b.disconnected ? a.main && !b.main : b.disconnected;
}

std::vector<ListedDisplay> Promise::listedIn(const std::vector<std::uint32_t>& order) {
    const std::vector<ListedDisplay> rows = listDisplays();
    if (!std::ranges::is_permutation(rows, order, {}, &ListedDisplay::id)) {
        throw BrokenPromise("other displays are listed than promised");
    }
    std::vector<ListedDisplay> sorted;
    for (const std::uint32_t id : order) {
        sorted.push_back(*std::ranges::find(rows, id, &ListedDisplay::id));
    }
    if (!std::ranges::is_sorted(sorted, comesFirst)) {
        throw BrokenPromise("the list is out of order");
    }
    return sorted;
}

std::string Promise::flagsOf(const ListedDisplay& row) {
    std::string flags = row.main ? "main," : "";
    flags += row.builtIn ? "builtin," : "";
    flags += canControl() ? "ddc" : "no-ddc";
    flags += row.disconnected ? ",disconnected" : "";
    flags += disconnectedByUs(row.id) ? ",sls-off" : "";
    return flags + (memory_.blackouts.contains(row.id) ? ",blackout" : "");
}

std::vector<std::string> Promise::printedList(const std::vector<std::uint32_t>& order) {
    std::vector<std::string> lines;
    for (const ListedDisplay& row : listedIn(order)) {
        lines.push_back(std::to_string(row.id) + "\t*\t" + flagsOf(row));
    }
    return lines;
}

bool Promise::isShownOn(std::uint32_t id) {
    return !disconnectedByUs(id) && !memory_.blackouts.contains(id);
}

std::vector<bool> Promise::menu(const std::vector<std::uint32_t>& order) {
    std::vector<bool> on;
    for (const ListedDisplay& row : listedIn(order)) {
        on.push_back(isShownOn(row.id));
    }
    return on;
}

Promise::Flip Promise::flip(bool on, std::uint32_t id) {
    if (!on && yes("CGDisplayIsMain", id)) {
        return {};
    }
    Flip flipped;
    flipped.outcome = setPower(on, id);
    flipped.isOn = isShownOn(id);
    return flipped;
}

bool Promise::seemsOff(std::uint32_t id) {
    return softDisconnected(id) || memory_.blackouts.contains(id);
}

Promise::SelfTest Promise::selfTest(const std::vector<std::uint32_t>& order) {
    const std::vector<ListedDisplay> rows = listedIn(order);
    SelfTest test;
    test.lines = {"Veilpane self-test",
                  "SLS disconnect supported: " +
                      trueOrFalse(skyLightHas("SLSConfigureDisplayEnabled")),
                  "Displays: " + std::to_string(rows.size())};
    if (rows.empty()) {
        test.lines.emplace_back("FAIL: no displays");
        test.status = 1;
        return test;
    }
    for (const ListedDisplay& row : rows) {
        describe(row, test);
    }
    const bool canTest = skyLightHas("SLSConfigureDisplayEnabled");
    const auto chosen = std::ranges::find_if(
        rows, [](const ListedDisplay& row) { return !row.main && !row.disconnected; });
    if (!canTest) {
        test.lines.emplace_back("SKIP: SLS API not available");
    } else if (chosen == rows.end()) {
        test.lines.emplace_back("SKIP: no non-main display to disconnect");
        test.lines.emplace_back("OK: guards in place");
    } else {
        test.id = chosen->id;
        testDisplay(test);
    }
    return test;
}

void Promise::describe(const ListedDisplay& row, SelfTest& test) {
    const std::string ddc = trueOrFalse(canControl());
    const std::string off = trueOrFalse(softDisconnected(row.id));
    test.lines.push_back("- id=" + std::to_string(row.id) + " name=* main=" +
                         trueOrFalse(row.main) + " ddc=" + ddc + " disconnected=" + off);
    test.lines.push_back("  " + statusLine(row.id));
}

void Promise::testDisplay(SelfTest& test) {
    const auto tell = [&test](const char* word, const Outcome& outcome) {
        test.lines.push_back(word + std::string(": method=") + outcome.method +
                             " success=" + trueOrFalse(outcome.success) + " " + outcome.message);
    };
    test.lines.push_back("testing SLS disconnect/reconnect on id=" + std::to_string(test.id) +
                         " * ...");
    test.off = setPower(false, test.id);
    tell("off", *test.off);
    const bool wentOff = seemsOff(test.id);
    test.lines.push_back("is_off_state=" + trueOrFalse(wentOff));
    test.on = setPower(true, test.id);
    tell("on", *test.on);
    const bool cameOn = !seemsOff(test.id);
    test.lines.push_back("is_on_state=" + trueOrFalse(cameOn));
    if (test.off->success && wentOff && test.on->success && cameOn) {
        test.lines.emplace_back("OK: power path works (disconnect preferred)");
    } else if (test.off->success || test.on->success) {
        test.lines.emplace_back("PARTIAL: some path worked");
    } else {
        test.lines.emplace_back("FAIL: power path");
        test.status = 1;
    }
}

} // namespace safety
