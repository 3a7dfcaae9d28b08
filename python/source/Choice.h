#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include <pybind11/pybind11.h>

namespace tavrix::python
{

/// The value that a word names. Raises ValueError, with the words that there are, for another one.
template <class Value>
Value choice(const std::string& word, const char* name,
             std::initializer_list<std::pair<const char*, Value>> choices)
{
    std::string words;
    for (const auto& [known, value] : choices)
    {
        if (word == known) return value;
        words += (words.empty() ? "'" : ", '") + std::string(known) + "'";
    }
    throw pybind11::value_error(std::string(name) + ": expected one of " + words + ", got '" + word + "'");
}

}  // namespace tavrix::python
