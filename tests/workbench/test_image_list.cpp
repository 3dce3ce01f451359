// The list of images of a folder that has more than anybody looks through.
#include "workbench/image_list.h"
#include "workbench/new_files.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace workbench;

namespace {

TEST(ImageList, SaysIfItIsNotWhole) {
    const TemporaryFolder temporary;
    const ImageFolder images(temporary.part("images"), temporary.part("uploads"));
    for (const char* name : {"a.jpg", "B.PNG", "c.txt", ".d.jpg"}) {
        std::ofstream(images.folder() / name) << "x";
    }
    ImageList all(images, 5);
    const auto page = all.page(0, 10, "");
    EXPECT_EQ(page["total"], 2);
    EXPECT_EQ(page["whole"], true);
    EXPECT_EQ(all.page(0, 10, "b.p")["images"][0]["name"], "B.PNG");
    ImageList some(images, 3);
    EXPECT_EQ(some.page(0, 10, "")["whole"], false);
    EXPECT_LE(some.page(0, 10, "")["total"], 2);
}

} // namespace
