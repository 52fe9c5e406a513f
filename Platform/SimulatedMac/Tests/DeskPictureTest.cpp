#include "SimulatedMac/Tools/DeskPicture.h"

#include "Support/Files.h"

#include <cairo.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>

namespace {

namespace fs = std::filesystem;
using namespace simulated_mac;

struct DestroySurface {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Picture = std::unique_ptr<cairo_surface_t, DestroySurface>;

class DeskPictureTest : public testing::Test {
protected:
    static DisplayStatus display(uint32_t id) {
        DisplayStatus status;
        status.id = id;
        status.name = "Display " + std::to_string(id);
        status.connected = status.enabled = status.online = status.active = status.lit = true;
        status.gamma = "normal";
        status.power = "on";
        return status;
    }

    [[nodiscard]] std::string file() const { return directory_.path() / "desk.png"; }

    Picture draw(const std::vector<DisplayStatus>& displays) {
        drawDesk(displays, Scene::desk(), file());
        Picture picture(cairo_image_surface_create_from_png(file().c_str()));
        EXPECT_EQ(cairo_surface_status(picture.get()), CAIRO_STATUS_SUCCESS);
        return picture;
    }

    /// The sum of red, green and blue, 0 to 765.
    static int brightness(const Picture& picture, double x, double y) {
        const int stride = cairo_image_surface_get_stride(picture.get());
        const unsigned char* const pixel = cairo_image_surface_get_data(picture.get()) +
                                           static_cast<int>(y * deskPixelsPerPoint) * stride +
                                           static_cast<int>(x * deskPixelsPerPoint) * 4;
        return pixel[0] + pixel[1] + pixel[2];
    }

    static int brightnessOfScreen(const Picture& picture, const PictureRect& screen) {
        return brightness(picture, screen.x + screen.width / 2, screen.y + screen.height / 2);
    }

    TemporaryDirectory directory_;
};

TEST_F(DeskPictureTest, has_the_size_of_its_layout) {
    for (const std::size_t count : {0U, 1U, 3U, 8U, 32U}) {
        std::vector<DisplayStatus> displays;
        while (displays.size() < count) {
            displays.push_back(display(static_cast<uint32_t>(displays.size()) + 1));
        }
        const DeskLayout layout = layOutDesk(count);
        const Picture picture = draw(displays);
        ASSERT_EQ(layout.screens.size(), count);
        EXPECT_EQ(cairo_image_surface_get_width(picture.get()),
                  static_cast<int>(layout.width * deskPixelsPerPoint));
        EXPECT_EQ(cairo_image_surface_get_height(picture.get()),
                  static_cast<int>(layout.height * deskPixelsPerPoint));
    }
}

TEST_F(DeskPictureTest, no_two_screens_overlap_and_all_lie_in_the_picture) {
    const DeskLayout layout = layOutDesk(32);
    for (std::size_t i = 0; i < layout.screens.size(); ++i) {
        const PictureRect& one = layout.screens[i];
        EXPECT_GE(one.x, 0);
        EXPECT_LE(one.x + one.width, layout.width);
        EXPECT_LE(one.y + one.height, layout.height);
        for (std::size_t j = i + 1; j < layout.screens.size(); ++j) {
            const PictureRect& other = layout.screens[j];
            EXPECT_TRUE(one.x + one.width <= other.x || one.y + one.height <= other.y ||
                        other.x + other.width <= one.x);
        }
    }
}

TEST_F(DeskPictureTest, lit_screens_are_bright_and_black_ones_dark) {
    DisplayStatus blackedOut = display(2);
    blackedOut.gamma = "zero";
    blackedOut.lit = false;
    DisplayStatus standby = display(3);
    standby.power = "standby";
    standby.lit = false;
    const DeskLayout layout = layOutDesk(3);
    const Picture picture = draw({display(1), blackedOut, standby});
    EXPECT_GT(brightnessOfScreen(picture, layout.screens[0]), 300);
    EXPECT_LT(brightnessOfScreen(picture, layout.screens[1]), 60);
    EXPECT_LT(brightnessOfScreen(picture, layout.screens[2]), 60);
}

TEST_F(DeskPictureTest, a_disconnected_display_has_no_screen_to_see) {
    DisplayStatus disconnected = display(1);
    disconnected.enabled = disconnected.lit = false;
    const PictureRect screen = layOutDesk(1).screens[0];
    const Picture picture = draw({disconnected});
    EXPECT_EQ(brightnessOfScreen(picture, screen),
              brightness(picture, screen.x + screen.width / 2, screen.y + 10));
    EXPECT_GT(brightnessOfScreen(picture, screen), 600);
}

TEST_F(DeskPictureTest, only_the_main_display_has_a_menu_bar) {
    DisplayStatus main = display(1);
    main.main = true;
    const DeskLayout layout = layOutDesk(2);
    const Picture picture = draw({main, display(2)});
    const auto topOf = [&](const PictureRect& screen) {
        return brightness(picture, screen.x + 60, screen.y + 10);
    };
    EXPECT_GT(topOf(layout.screens[0]), topOf(layout.screens[1]) + 100);
}

TEST_F(DeskPictureTest, the_same_desk_gives_the_same_bytes) {
    const auto bytes = [&] {
        draw({display(1), display(2)});
        std::ifstream stream(file(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    EXPECT_EQ(bytes(), bytes());
}

TEST_F(DeskPictureTest, a_file_that_cannot_be_written_is_an_error_that_leaves_nothing_behind) {
    EXPECT_THROW(drawDesk({display(1)}, Scene::desk(), directory_.path() / "no" / "desk.png"),
                 std::runtime_error);
    fs::create_directory(file());
    EXPECT_ANY_THROW(drawDesk({display(1)}, Scene::desk(), file()));
    EXPECT_EQ(std::distance(fs::directory_iterator(directory_.path()), fs::directory_iterator()),
              1);
}

} // namespace
