#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/PointTable.h"

namespace tavrix::formats
{

/// Reads rows of numbers as text: CSV, and plain columns. Fields stand between commas, semicolons (then
/// commas are decimal points), tabs or blanks, as the first line shows. That line gives the columns' names
/// when it holds no numbers, or else a line of comment before it that has as many words; without names the
/// first three columns of numbers are x, y and z, and others column_4 and so on, by their places. Comments
/// (#, % or //) and empty lines are passed over, fields that are no numbers become NaN, and columns without
/// any number are left out. Throws Failure when there is no row; `path` names the file in messages.
PointTable readTextTable(const Bytes& bytes, const std::string& path);

/// Reads up to `rows` lines, the file's next, between whose blanks the named columns stand; those without a
/// name are passed over.
PointTable readRows(std::string_view text, const std::vector<std::string>& names, std::optional<uint64> rows);

/// The words of a line.
std::vector<std::string_view> wordsOf(std::string_view line);

}  // namespace tavrix::formats
