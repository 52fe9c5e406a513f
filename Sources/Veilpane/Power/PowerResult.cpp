#include "Veilpane/Power/PowerResult.h"

namespace veilpane {

std::string_view title(PowerMethod method) {
    switch (method) {
    case PowerMethod::disconnect:
        return "断开显示器（SLS）";
    case PowerMethod::ddc:
        return "DDC 硬件电源";
    case PowerMethod::blackout:
        return "BlackOut（镜像+Gamma）";
    }
    return {};
}

} // namespace veilpane
