#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include <tavrix/platform/TX_String.h>

namespace tavrix::test
{

/// A fresh folder for one test's files, removed with all that is in it.
class TestFolder
{
public:
    TestFolder()
    {
        std::random_device random;
        do _path = std::filesystem::temp_directory_path() / ("tavrix_test_" + std::to_string(random()));
        while (!std::filesystem::create_directory(_path));
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }

    TX_String path() const { return text(_path); }
    /// The path of a file of this folder; the name is UTF-8.
    TX_String file(const std::string& name) const { return text(native(name)); }

    TX_String write(const std::string& name, const std::string& bytes) const
    {
        // a fresh file: some file systems wait for the disk when one is cut to nothing and written again
        if (std::filesystem::is_regular_file(native(name))) std::filesystem::remove(native(name));
        std::ofstream(native(name), std::ios::binary) << bytes;
        return file(name);
    }
    std::string read(const std::string& name) const
    {
        std::ifstream stream(native(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    static TX_String text(const std::filesystem::path& path)
    {
        const std::u8string utf8 = path.u8string();
        return TX_String(std::string(utf8.begin(), utf8.end()));
    }
    std::filesystem::path native(const std::string& name) const
    {
        return _path / std::u8string(name.begin(), name.end());
    }

    std::filesystem::path _path;
};

/// The folder of real files that TAVRIX_TEST_DATA names; empty when there is none, and tests that want it are
/// skipped.
inline std::string testData()
{
    const char* folder = std::getenv("TAVRIX_TEST_DATA");
    return folder ? folder : "";
}

}  // namespace tavrix::test
