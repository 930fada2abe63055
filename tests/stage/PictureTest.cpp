// Pictures of a scene, read back pixel by pixel.
#include "stage/Picture.h"

#include <gtest/gtest.h>

#include "ond/util/CMesh_Box.h"
#include "stage/PngFile.h"
#include "stage/StageError.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wcast-qual"
#pragma GCC diagnostic ignored "-Wunused-function"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wuseless-cast"
#endif
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

namespace ond::test {

using namespace stage;
namespace {

struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> values;
    [[nodiscard]] int at(int x, int y, int channel) const {
        return values[static_cast<std::size_t>((y * width + x) * 3 + channel)];
    }
};

Pixels unpacked(const std::vector<unsigned char>& png) {
    Pixels pixels;
    int channels = 0;
    unsigned char* data =
        stbi_load_from_memory(png.data(), static_cast<int>(png.size()), &pixels.width, &pixels.height, &channels, 3);
    EXPECT_NE(data, nullptr);
    pixels.values.assign(data, data + 3 * pixels.width * pixels.height);
    stbi_image_free(data);
    return pixels;
}

TEST(PngFile, ReadsBackAsItWas) {
    const std::vector<unsigned char> pixels{255, 0, 0, 0, 255, 0, 0, 0, 255, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    const Pixels back = unpacked(pngOf(pixels, 3, 2));
    EXPECT_EQ(back.width, 3);
    EXPECT_EQ(back.height, 2);
    EXPECT_EQ(back.values, pixels);
}

TEST(PngFile, WithoutAPixelIsRefused) {
    EXPECT_THROW(static_cast<void>(pngOf({}, 0, 2)), StageError);
    EXPECT_THROW(static_cast<void>(pngOf({}, 2, 0)), StageError);
}

/// A vehicle of one red body and a camera behind it that looks along -Z.
class PictureOfABox : public ::testing::Test {
  protected:
    PictureOfABox() {
        Element& body = scene.addMesh("car_CarBodyMesh", util::CMesh_Box(1, 1, 1));
        body.identifier = "CarBodyMesh";
        body.vehicle = "car";
        body.ownColour = true;
        body.colour[0] = 0.9F;
        Element& camera = scene.add("car_FollowCam");
        camera.identifier = "FollowCam";
        camera.vehicle = "car";
        camera.isCamera = true;
        camera.fieldOfView = 60.0;
        camera.track.pose = util::Translation({0, 0, 5});
        options.width = 60;
        options.height = 40;
        options.vehicle = "car";
        options.camera = "FollowCam";
    }
    [[nodiscard]] Pixels render(int frame = 0) const { return unpacked(renderPicture(scene, frame, options)); }
    [[nodiscard]] static bool isRed(const Pixels& pixels, int x, int y) {
        return pixels.at(x, y, 0) > 2 * pixels.at(x, y, 1) && pixels.at(x, y, 0) > 60;
    }

    Scene scene{{25, 1}};
    PictureOptions options;
};

TEST_F(PictureOfABox, ShowsItWhereTheCameraSeesIt) {
    const Pixels pixels = render();
    EXPECT_TRUE(isRed(pixels, 30, 20));
    EXPECT_FALSE(isRed(pixels, 2, 20));
    // The box reaches 0.5 to each side at a distance of 4.5, the picture 2 * tan(30 degrees) at 1.
    const int half = static_cast<int>(60 * (0.5 / 4.5) / (2 * 0.5773502691896257));
    EXPECT_TRUE(isRed(pixels, 30 + half - 1, 20));
    EXPECT_FALSE(isRed(pixels, 30 + half + 1, 20));
    // Sky above is blue, the grid below is grey.
    EXPECT_GT(pixels.at(30, 0, 2), pixels.at(30, 0, 0) + 20);
    EXPECT_NEAR(pixels.at(5, 38, 0), pixels.at(5, 38, 2), 40);
}

TEST_F(PictureOfABox, FollowsTheMotion) {
    scene.setUserKey(scene.find("car", "CarBodyMesh") == nullptr ? scene.add("x") : *scene.find("car", "CarBodyMesh"),
                     0, util::Matrix4());
    scene.setUserKey(*scene.find("car", "CarBodyMesh"), 10, util::Translation({1.5, 0, 0}));
    EXPECT_TRUE(isRed(render(0), 30, 20));
    EXPECT_FALSE(isRed(render(10), 30, 20));
    EXPECT_TRUE(isRed(render(10), 47, 20));
}

TEST_F(PictureOfABox, LeavesHiddenThingsAndHelpersOut) {
    Element& helper = scene.addMesh("car_GravityDirectionMesh", util::CMesh_Box(9, 9, 0.1));
    helper.identifier = "GravityDirectionMesh";
    helper.vehicle = "car";
    helper.ownColour = true;
    helper.colour[0] = 0.9F;
    helper.track.pose = util::Translation({0, 0, -3});
    EXPECT_FALSE(isRed(render(), 8, 20));
    options.helpers = true;
    EXPECT_TRUE(isRed(render(), 8, 20));
    helper.shown = false;
    EXPECT_FALSE(isRed(render(), 8, 20));
    scene.find("car", "CarBodyMesh")->shown = false;
    EXPECT_FALSE(isRed(render(), 30, 20));
}

TEST_F(PictureOfABox, CastsAShadowAwayFromTheSun) {
    Element& ground = scene.addMesh("ground", util::CMesh_Box(50, 0.1, 50));
    ground.track.pose = util::Translation({0, -1, 0});
    // From above, so that the picture's right is +X and its foot +Z.
    Element& camera = *scene.find("car", "FollowCam");
    camera.track.pose = util::Translation({0, 5, 0}) * util::RotationX(-1.5707963267948966);
    options.width = options.height = 100;
    const Pixels pixels = render();
    EXPECT_TRUE(isRed(pixels, 50, 50));
    const auto brightness = [&](int x, int y) { return pixels.at(x, y, 0) + pixels.at(x, y, 1) + pixels.at(x, y, 2); };
    // 14.4 pixels to the unit on the ground. The sun stands at +X and +Z.
    EXPECT_LT(brightness(50 - 13, 50 - 11), brightness(50 + 20, 50 + 20) * 3 / 4);
    EXPECT_GT(brightness(50 + 13, 50 + 11), brightness(50 + 20, 50 + 20) * 9 / 10);
}

TEST_F(PictureOfABox, RefusesWhatIsNotThere) {
    options.camera = "DriverCam";
    EXPECT_THROW((void)render(), StageError);
    options.camera = "CarBodyMesh";
    EXPECT_THROW((void)render(), StageError);
    options.camera = "";
    options.vehicle = "bus";
    EXPECT_THROW((void)render(), StageError);
    options.vehicle = "";
    EXPECT_NO_THROW((void)render());
    options.width = 0;
    EXPECT_THROW((void)render(), StageError);
}

}  // namespace
}  // namespace ond::test
