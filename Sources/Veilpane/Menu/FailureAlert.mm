#include "Veilpane/Menu/FailureAlert.h"

#include "Ownership/NSRef.h"

#import <AppKit/AppKit.h>

#include <string>

namespace veilpane {

namespace {

constexpr const char* note = "\n\n说明：\n"
                             "• 优先 SLS 真断开（系统设置中消失，与 Nocturne BlackOut 一致）\n"
                             "• 失败时回退 DDC / 镜像+Gamma\n"
                             "• 主屏禁止关闭；至少保留一台活动显示器";

NSString* informativeText(CGDirectDisplayID displayID, const PowerResult& result) {
    const std::string text = "显示器 ID: " + std::to_string(displayID) +
                             "\n方法: " + std::string(title(result.method)) + "\n" +
                             result.message + note;
    return [NSString stringWithUTF8String:text.c_str()];
}

} // namespace

void showAlert(bool on, CGDirectDisplayID displayID, const PowerResult& result) {
    const auto alert = NSRef<NSAlert>::adopt([[NSAlert alloc] init]);
    [alert.get() setAlertStyle:NSAlertStyleWarning];
    [alert.get() setMessageText:on ? @"无法打开显示器" : @"无法关闭显示器"];
    [alert.get() setInformativeText:informativeText(displayID, result)];
    [alert.get() addButtonWithTitle:@"好"];
    // An accessory application is not in front by itself, and its activation may be refused: a
    // window at the normal level would then open behind those of other applications.
    NSWindow* const window = [alert.get() window];
    [window setLevel:NSFloatingWindowLevel];
    // Otherwise an alert on a display that shows nothing would keep the program, and with it the
    // user's logout, from ending.
    [window setPreventsApplicationTerminationWhenModal:NO];
    [NSApp activateIgnoringOtherApps:YES];
    [alert.get() runModal];
}

} // namespace veilpane
