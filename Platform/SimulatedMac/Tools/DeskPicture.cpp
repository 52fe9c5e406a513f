#include "SimulatedMac/Tools/DeskPicture.h"

#include "SimulatedMac/World/Message.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <pango/pangocairo.h>
#include <stdexcept>
#include <unistd.h>

namespace simulated_mac {

namespace {

constexpr double margin = 32;
constexpr double screenWidth = 208;
constexpr double screenHeight = 124;
constexpr double columnDistance = 28;
constexpr double rowHeight = 232;
constexpr std::size_t columnsAtMost = 4;
constexpr double bezel = 6;

struct Rgb {
    double red, green, blue;
};
constexpr Rgb desk = {0.95, 0.945, 0.935};
constexpr Rgb faintDesk = {0.885, 0.88, 0.875};
constexpr Rgb ink = {0.13, 0.14, 0.17};
constexpr Rgb faintInk = {0.45, 0.46, 0.5};
constexpr Rgb aluminium = {0.76, 0.77, 0.79};
constexpr Rgb housing = {0.1, 0.1, 0.12};
constexpr Rgb dark = {0.02, 0.02, 0.03};
constexpr Rgb amber = {1, 0.62, 0.1};
constexpr Rgb green = {0.3, 0.85, 0.45};

template <auto release>
struct Release {
    template <class Object>
    void operator()(Object* object) const {
        release(object);
    }
};
using Surface = std::unique_ptr<cairo_surface_t, Release<cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, Release<cairo_destroy>>;
using Gradient = std::unique_ptr<cairo_pattern_t, Release<cairo_pattern_destroy>>;
using Text = std::unique_ptr<PangoLayout, Release<g_object_unref>>;
using Font = std::unique_ptr<PangoFontDescription, Release<pango_font_description_free>>;

PictureRect inset(const PictureRect& rect, double distance) {
    return {rect.x + distance, rect.y + distance, rect.width - 2 * distance,
            rect.height - 2 * distance};
}

double middle(const PictureRect& rect) {
    return rect.x + rect.width / 2;
}

double bottom(const PictureRect& rect) {
    return rect.y + rect.height;
}

class Painter {
public:
    explicit Painter(cairo_t* cairo) : cairo_(cairo) {}

    void setColor(const Rgb& color, double opacity = 1) {
        cairo_set_source_rgba(cairo_, color.red, color.green, color.blue, opacity);
    }

    void addRoundedRect(const PictureRect& rect, double radius) {
        constexpr double quarter = std::numbers::pi / 2;
        const double right = rect.x + rect.width - radius;
        const double lower = bottom(rect) - radius;
        cairo_new_sub_path(cairo_);
        cairo_arc(cairo_, right, rect.y + radius, radius, -quarter, 0);
        cairo_arc(cairo_, right, lower, radius, 0, quarter);
        cairo_arc(cairo_, rect.x + radius, lower, radius, quarter, 2 * quarter);
        cairo_arc(cairo_, rect.x + radius, rect.y + radius, radius, 2 * quarter, 3 * quarter);
        cairo_close_path(cairo_);
    }

    void fill(const PictureRect& rect, double radius, const Rgb& color, double opacity = 1) {
        setColor(color, opacity);
        addRoundedRect(rect, radius);
        cairo_fill(cairo_);
    }

    void strokeDashed(const PictureRect& rect, double radius) {
        constexpr double dashes[] = {5, 4};
        cairo_set_dash(cairo_, dashes, 2, 0);
        cairo_set_line_width(cairo_, 1.5);
        setColor(faintInk, 0.8);
        addRoundedRect(rect, radius);
        cairo_stroke(cairo_);
        cairo_set_dash(cairo_, nullptr, 0, 0);
    }

    void fillCircle(double x, double y, double radius, const Rgb& color) {
        setColor(color);
        cairo_arc(cairo_, x, y, radius, 0, 2 * std::numbers::pi);
        cairo_fill(cairo_);
    }

    void fillWallpaper(const PictureRect& rect) {
        const Gradient gradient(
            cairo_pattern_create_linear(rect.x, rect.y, rect.x + rect.width / 2, bottom(rect)));
        cairo_pattern_add_color_stop_rgb(gradient.get(), 0, 0.35, 0.62, 0.93);
        cairo_pattern_add_color_stop_rgb(gradient.get(), 0.55, 0.6, 0.56, 0.93);
        cairo_pattern_add_color_stop_rgb(gradient.get(), 1, 0.98, 0.66, 0.6);
        cairo_set_source(cairo_, gradient.get());
        addRoundedRect(rect, 3);
        cairo_fill(cairo_);
    }

    /// One line of text, centred at `x` below `y`, cut at the tail where it is wider than `width`.
    void write(const std::string& line, double x, double y, double width, const char* font,
               const Rgb& color) {
        const Text text(pango_cairo_create_layout(cairo_));
        const Font description(pango_font_description_from_string(font));
        pango_layout_set_font_description(text.get(), description.get());
        pango_layout_set_width(text.get(), static_cast<int>(width * PANGO_SCALE));
        pango_layout_set_ellipsize(text.get(), PANGO_ELLIPSIZE_END);
        pango_layout_set_alignment(text.get(), PANGO_ALIGN_CENTER);
        pango_layout_set_text(text.get(), line.data(), static_cast<int>(line.size()));
        setColor(color);
        cairo_move_to(cairo_, x - width / 2, y);
        pango_cairo_show_layout(cairo_, text.get());
    }

private:
    cairo_t* cairo_;
};

bool isThere(const DisplayStatus& display) {
    return display.connected && display.enabled;
}

std::string captionOf(const DisplayStatus& display) {
    if (!display.connected) {
        return "cable unplugged";
    }
    if (!display.enabled) {
        return "disconnected from the system";
    }
    if (display.asleep) {
        return "asleep";
    }
    if (display.power == "standby") {
        return "in standby";
    }
    const std::string mirror =
        display.mirrors == 0 ? "" : ", mirrors " + std::to_string(display.mirrors);
    if (display.gamma == "zero") {
        return "blacked out" + mirror;
    }
    return (display.main ? "main display" : "on") + mirror;
}

void drawStand(Painter& painter, const PictureRect& screen, bool isBuiltIn) {
    const double x = middle(screen);
    const double y = bottom(screen);
    if (isBuiltIn) {
        painter.fill({screen.x - 16, y, screen.width + 32, 9}, 4, aluminium);
        painter.fill({x - 22, y, 44, 3}, 1.5, faintInk, 0.5);
        return;
    }
    painter.fill({x - 13, y - 2, 26, 24}, 2, aluminium);
    painter.fill({x - 36, y + 20, 72, 6}, 3, aluminium);
}

void drawPicture(Painter& painter, const PictureRect& glass, const DisplayStatus& display) {
    if (!display.lit) {
        painter.fill(glass, 3, dark);
        return;
    }
    painter.fillWallpaper(glass);
    if (display.main) {
        painter.fill({glass.x, glass.y, glass.width, 9}, 2, {1, 1, 1}, 0.85);
        painter.fill({glass.x + 6, glass.y + 3, 16, 3}, 1.5, ink, 0.7);
        painter.fill({glass.x + glass.width - 16, glass.y + 3, 10, 3}, 1.5, ink, 0.7);
    }
}

void drawDisplay(Painter& painter, const PictureRect& screen, const DisplayStatus& display,
                 bool isBuiltIn) {
    if (display.connected) {
        drawStand(painter, screen, isBuiltIn);
    }
    if (isThere(display)) {
        painter.fill(screen, 8, housing);
        drawPicture(painter, inset(screen, bezel), display);
        painter.fillCircle(screen.x + screen.width - 10, bottom(screen) - 3, 1.6,
                           display.power == "standby" ? amber : green);
    } else {
        painter.fill(screen, 8, faintDesk);
        painter.strokeDashed(screen, 8);
    }
    constexpr double captionTop = 34;
    constexpr double lineHeight = 20;
    const double y = bottom(screen) + captionTop;
    const double width = screen.width + columnDistance - 8;
    painter.write(display.name, middle(screen), y, width, "Noto Sans CJK SC Medium 10.5",
                  isThere(display) ? ink : faintInk);
    painter.write("ID " + std::to_string(display.id) + " · " + captionOf(display), middle(screen),
                  y + lineHeight, width, "Noto Sans CJK SC 8.5", faintInk);
}

bool isBuiltIn(const Scene& scene, uint32_t id) {
    return std::ranges::any_of(scene.displays, [id](const SceneDisplay& display) {
        return display.id == id && display.builtin;
    });
}

[[noreturn]] void rejectUnwritable(const std::string& file) {
    throw std::runtime_error("desk: cannot write '" + shown(file, longestName) + "'");
}

/// A device, a pipe or a link would be gone, with the picture in its place.
void requireReplaceable(const std::string& file) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(file, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw std::runtime_error("desk: '" + shown(file, longestName) + "' is no regular file");
    }
}

/// A file beside the wanted one, which takes its name when it is complete.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::string& file)
        : file_(file), name_(file + "." + std::to_string(getpid()) + ".new") {}
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile() {
        std::error_code ignored;
        std::filesystem::remove(name_, ignored);
    }

    [[nodiscard]] const std::string& name() const { return name_; }
    void finish() const {
        std::error_code error;
        std::filesystem::rename(name_, file_, error);
        if (error) {
            rejectUnwritable(file_);
        }
    }

private:
    std::string file_;
    std::string name_;
};

} // namespace

DeskLayout layOutDesk(std::size_t displayCount) {
    const std::size_t columns = std::clamp<std::size_t>(displayCount, 1, columnsAtMost);
    const std::size_t rows = std::max<std::size_t>(1, (displayCount + columns - 1) / columns);
    DeskLayout layout;
    const auto columnCount = static_cast<double>(columns);
    layout.width = 2 * margin + columnCount * (screenWidth + columnDistance);
    layout.height = 2 * margin + static_cast<double>(rows) * rowHeight - 24;
    for (std::size_t index = 0; index < displayCount; ++index) {
        const auto column = static_cast<double>(index % columns);
        const auto row = static_cast<double>(index / columns);
        layout.screens.push_back(
            {margin + columnDistance / 2 + column * (screenWidth + columnDistance),
             margin + row * rowHeight, screenWidth, screenHeight});
    }
    return layout;
}

void drawDesk(const std::vector<DisplayStatus>& displays, const Scene& scene,
              const std::string& file) {
    requireReplaceable(file);
    const DeskLayout layout = layOutDesk(displays.size());
    const Surface surface(cairo_image_surface_create(
        CAIRO_FORMAT_RGB24, static_cast<int>(std::ceil(layout.width * deskPixelsPerPoint)),
        static_cast<int>(std::ceil(layout.height * deskPixelsPerPoint))));
    const Context context(cairo_create(surface.get()));
    cairo_scale(context.get(), deskPixelsPerPoint, deskPixelsPerPoint);
    Painter painter(context.get());
    painter.setColor(desk);
    cairo_paint(context.get());
    for (std::size_t index = 0; index < displays.size(); ++index) {
        drawDisplay(painter, layout.screens[index], displays[index],
                    isBuiltIn(scene, displays[index].id));
    }
    if (displays.empty()) {
        painter.write("no displays", layout.width / 2, layout.height / 2 - 10, layout.width,
                      "Noto Sans CJK SC 11", faintInk);
    }
    const UnfinishedFile unfinished(file);
    if (cairo_surface_write_to_png(surface.get(), unfinished.name().c_str()) !=
        CAIRO_STATUS_SUCCESS) {
        rejectUnwritable(file);
    }
    unfinished.finish();
}

} // namespace simulated_mac
