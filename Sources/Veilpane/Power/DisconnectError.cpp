#include "Veilpane/Power/DisconnectError.h"

std::string DisconnectError::description() const {
    switch (reason) {
    case Reason::configFailed:
        return "显示配置失败 CGError " + std::to_string(code);
    case Reason::slsFailed:
        return "SLSConfigureDisplayEnabled 失败 CGError " + std::to_string(code);
    case Reason::unavailable:
        return "SLSConfigureDisplayEnabled 不可用（需要 Apple Silicon + SkyLight）";
    case Reason::wouldLeaveNoDisplay:
        return "拒绝断开：会没有可用显示器";
    case Reason::mainDisplayForbidden:
        return "主屏禁止关闭";
    }
    return {};
}
