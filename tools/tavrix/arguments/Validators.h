#pragma once

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <tavrix/foundation/Box3.h>
#include <tavrix/platform/Types.h>

#include "formats/FileName.h"
#include "run/Text.h"

namespace tavrix::tool
{

// What the commands' options accept. A validator's description lists, behind a mark, the choices or the
// extensions of files that completions offer.
inline const std::string choicesMark = "choices:", filesMark = "files:";

/// Any name of a file to read, or of one to write without an extension of its own.
inline CLI::Validator anyFile(const std::vector<std::string>& extensions = {})
{
    return CLI::Validator([](const std::string&) { return std::string(); },
                          filesMark + CLI::detail::join(extensions, ","), "");
}

inline const auto positiveNumber = CLI::Validator(
    [](std::string& text) -> std::string
    {
        double value = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, value);
        if (!isNumber || !(value > 0)) return "must be a number above 0";
        // the squares of lengths have to fit into single precision
        return value >= 1e-15 && value <= 1e15 ? "" : "must lie between 1e-15 and 1e15";
    },
    "NUMBER > 0");

/// How near vertices must lie to be joined; 0: at one place.
inline const auto weldTolerance = CLI::Validator(
    [](std::string& text) -> std::string
    {
        double value = 0;
        const bool fits = CLI::detail::lexical_cast(text, value) && value >= 0 && value <= 1e15;
        return fits ? "" : "must be a number from 0 to 1e15";
    },
    "NUMBER >= 0");

/// A part of a whole.
inline const auto partOfOne = CLI::Validator(
    [](std::string& text) -> std::string
    {
        double value = 0;
        const bool fits = CLI::detail::lexical_cast(text, value) && value > 0 && value <= 1;
        return fits ? "" : "must be a number above 0, up to 1";
    },
    "0 < NUMBER <= 1");

inline const auto finiteNumber = CLI::Validator(
    [](std::string& text) -> std::string
    {
        double value = 0;
        const bool finite = CLI::detail::lexical_cast(text, value) && value > -1e30 && value < 1e30;
        return finite ? "" : "must be a finite number";
    },
    "NUMBER");

/// An amount of memory in bytes, or with K, M, G or T behind it; becomes bytes.
inline const auto memorySize = CLI::Validator(
    [](std::string& text) -> std::string
    {
        const std::string units = "KMGT";
        const std::size_t unit = text.empty() ? std::string::npos : units.find(text.back());
        double value = 0;
        const bool isNumber = CLI::detail::lexical_cast(
            unit == std::string::npos ? text : text.substr(0, text.size() - 1), value);
        for (std::size_t n = 0; unit != std::string::npos && n <= unit; ++n) value *= 1024;
        if (!isNumber || !(value >= 1 && value <= 1e18))
            return "must be an amount of memory, as in 2G or 800M";
        text = std::to_string(static_cast<uint64>(value));
        return "";
    },
    "SIZE");

inline const auto frameNumber = CLI::Validator(
    [](std::string& text) -> std::string
    {
        const bool isWhole =
            !text.empty() && text.size() < 20 && text.find_first_not_of("0123456789") == std::string::npos;
        return isWhole ? "" : "must be a whole number, as in the file's name";
    },
    "NUMBER");

/// Finite numbers with commas between them; none when one is no such number.
inline std::vector<double> parseNumbers(const std::string& text)
{
    std::vector<double> numbers;
    if (text.ends_with(',')) return numbers;
    for (const std::string& part : CLI::detail::split(text, ','))
    {
        double value = 0;
        if (!CLI::detail::lexical_cast(part, value) || !(value > -1e30 && value < 1e30)) return {};
        numbers.push_back(value);
    }
    return numbers;
}

/// Six numbers with commas between them as a box; nothing when they are none, or the second corner does not
/// lie beyond the first.
inline std::optional<Box3D> parseBox(const std::string& text)
{
    const std::vector<double> n = parseNumbers(text);
    if (n.size() != 6 || !(n[0] < n[3] && n[1] < n[4] && n[2] < n[5])) return std::nullopt;
    return Box3D{{n[0], n[1], n[2]}, {n[3], n[4], n[5]}};
}

inline const auto boxCorners = CLI::Validator(
    [](std::string& text) -> std::string {
        return parseBox(text) ? ""
                              : "must be six finite numbers, the corner with the lower ones first: " + text;
    },
    "BOX");

/// A whole number in a range.
inline CLI::Validator wholeNumber(uint64 least, uint64 most)
{
    const auto check = [least, most](const std::string& text) -> std::string
    {
        uint64 value = 0;
        const bool isWhole = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos &&
                             CLI::detail::lexical_cast(text, value);
        return isWhole && value >= least && value <= most
                   ? ""
                   : "must be a whole number from " + std::to_string(least) + " to " + std::to_string(most);
    };
    return CLI::Validator(check, "", "");
}

/// A number in a range.
inline CLI::Validator numberFrom(double least, double most)
{
    const auto check = [least, most](const std::string& text) -> std::string
    {
        double value = 0;
        const bool fits = CLI::detail::lexical_cast(text, value) && value >= least && value <= most;
        return fits ? "" : formatted("must be a number from %g to %g", least, most);
    };
    return CLI::Validator(check, "", "");
}

/// "obj, stl or bin", each behind the prefix.
inline std::string nameList(const std::vector<std::string>& names, const std::string& prefix = "")
{
    std::string text;
    for (std::size_t n = 0; n < names.size(); ++n)
        text += (n == 0 ? "" : n + 1 == names.size() ? " or " : ", ") + prefix + names[n];
    return text;
}

inline CLI::Validator oneOf(const std::vector<std::string>& names)
{
    const auto check = [names](const std::string& text) -> std::string
    {
        return std::count(names.begin(), names.end(), text) > 0
                   ? ""
                   : "must be " + nameList(names) + ", not " + text;
    };
    return CLI::Validator(check, choicesMark + CLI::detail::join(names, ","), "");
}

/// Whether an output is a folder, which may have to be made.
inline bool isFolderName(const std::string& name)
{
    std::error_code ignored;
    return !name.empty() && (name.back() == '/' || name.back() == '\\' ||
                             std::filesystem::is_directory(formats::pathOf(name), ignored));
}

/// A file name to write with one of the extensions, in capitals or not, or a device; or, where it may be, a
/// folder.
inline CLI::Validator outputWithExtension(const std::vector<std::string>& extensions,
                                          bool mayBeFolder = false)
{
    const auto check = [extensions, mayBeFolder](const std::string& name) -> std::string
    {
        if (mayBeFolder && isFolderName(name)) return "";
        const bool fits = std::count(extensions.begin(), extensions.end(), formats::extensionOf(name)) > 0;
        return fits || name.starts_with("/dev/") ? ""
                                                 : "must end in " + nameList(extensions, ".") +
                                                       (mayBeFolder ? ", or be a folder: " : ": ") + name;
    };
    return CLI::Validator(check, filesMark + CLI::detail::join(extensions, ","), "");
}

}  // namespace tavrix::tool
