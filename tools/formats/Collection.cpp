#include "formats/Collection.h"

#include <array>
#include <charconv>
#include <filesystem>

#include "formats/BlockWriter.h"
#include "formats/FileName.h"
#include "formats/OutputFile.h"
#include "formats/XmlText.h"

namespace tavrix::formats
{

namespace
{

/// The name of a file as seen from the collection, with slashes.
std::string nameFrom(const std::string& collection, const std::string& file)
{
    const std::filesystem::path folder = pathOf(collection).parent_path();
    const std::filesystem::path relative = pathOf(file).lexically_relative(folder.empty() ? "." : folder);
    const bool isBelow = !relative.empty() && *relative.begin() != "..";
    const std::u8string name = (isBelow ? relative : pathOf(file)).generic_u8string();
    return {name.begin(), name.end()};
}

std::string numberText(double value)
{
    std::array<char, 32> text;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

}  // namespace

void writeCollection(const std::string& path, const std::vector<CollectionFrame>& frames)
{
    std::string text =
        "<?xml version=\"1.0\"?>\n<VTKFile type=\"Collection\" version=\"0.1\" "
        "byte_order=\"LittleEndian\">\n<Collection>\n";
    for (const CollectionFrame& frame : frames)
        text += "<DataSet timestep=\"" + numberText(frame.time) + "\" part=\"0\" file=\"" +
                xmlText(nameFrom(path, frame.file)) + "\"/>\n";
    text += "</Collection>\n</VTKFile>\n";
    writeFileWhole(path,
                   [&](const std::string& name)
                   {
                       BlockWriter out(name);
                       out.put(text);
                       return out.close();
                   });
}

}  // namespace tavrix::formats
