#include "formats/FileKind.h"

#include <gtest/gtest.h>

#include "formats/Failure.h"
#include "TestFolder.h"

using namespace tavrix;
using namespace tavrix::formats;
using namespace std::string_literals;

TEST(FileKind, ContentComesFirstThenTheExtension)
{
    const struct
    {
        std::string name, bytes;
        FileKind kind;
    } cases[] = {
        {"a.txt", "ply\nformat ascii 1.0\n", FileKind::Ply},
        {"a", "# vtk DataFile Version 3.0\n", FileKind::VtkLegacy},
        {"a.xml", "<?xml version=\"1.0\"?>\n<!-- by hand -->\n<VTKFile>", FileKind::VtkXml},
        {"a.bin", "BgeoV\0\0\0\5"s, FileKind::Bgeo},
        {"a.obj", "\x93NUMPY", FileKind::Npy},
        {"a.txt", " \n[[1, 2, 3]]", FileKind::Json},
        {"a.CSV", "1,2,3", FileKind::Csv},
        {"a.csv.gz", "1,2,3", FileKind::Csv},
        {"a.tsv", "", FileKind::Csv},
        {"a.XYZ", "1 2 3", FileKind::Xyz},
        {"a.txt", "1 2 3", FileKind::Xyz},
        {"a.json", "{\"x\": [1]}", FileKind::Json},
    };
    const test::TestFolder folder;
    for (const auto& [name, bytes, kind] : cases)
        EXPECT_EQ(kindOfFile(folder.write(name, bytes).c_str()), kind) << name << ": " << bytes;
    EXPECT_THROW(kindOfFile(folder.write("a.gz", "1 2 3").c_str()), Failure);
    EXPECT_THROW(kindOfFile(folder.path().c_str()), Failure);
}
