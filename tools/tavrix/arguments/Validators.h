#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <tavrix/platform/Types.h>

#include "formats/FileName.h"

namespace tavrix::tool
{

// What the commands' options accept.

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

/// A file name to write with one of the extensions, in capitals or not, or a device.
inline CLI::Validator outputWithExtension(const std::vector<std::string>& extensions)
{
    const auto check = [extensions](const std::string& name) -> std::string
    {
        const bool fits = std::count(extensions.begin(), extensions.end(), formats::extensionOf(name)) > 0;
        return fits || name.starts_with("/dev/")
                   ? ""
                   : "the name must end in ." + CLI::detail::join(extensions, " or .") + ": " + name;
    };
    return CLI::Validator(check, "", "");
}

}  // namespace tavrix::tool
