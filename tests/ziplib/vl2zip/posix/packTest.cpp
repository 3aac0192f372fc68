#include "tests/ziplib/vl2zip/packer.h"

#include <gtest/gtest.h>

using namespace packer; // NOLINT: the tests speak this language

// Elsewhere the two would be one file.
TEST(PackCase, AVariantIsNewWhereTheFolderHoldsAnotherFileForTheEntry) {
    const TestFolder folder;
    const fs::path archive = folder / "classic.vl2";
    ASSERT_TRUE(judge({"make", "case", archive}));
    writeFile(folder / "work/sub/edit.txt", "lower");
    writeFile(folder / "work/SUB/EDIT.TXT", "upper");
    ASSERT_EQ(run(Call(archive, folder / "work")).code, 0);
    EXPECT_EQ(names(archive), (std::vector<std::string>{"Sub/Edit.TXT", "keep.txt", "SUB/EDIT.TXT",
                                                        "sub/edit.txt"}));
    EXPECT_EQ(content(archive, "Sub/Edit.TXT"), "before");
}
