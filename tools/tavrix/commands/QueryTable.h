#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <tavrix/foundation/Ray3.h>
#include <tavrix/spatial/MeshPoint.h>

namespace tavrix::tool
{

/// What is asked of a mesh: about a point, or about a ray.
struct Query
{
    Vector3D origin;
    std::optional<Vector3D> direction;
};

struct Answer
{
    std::optional<MeshPoint> point;
    bool isInside;  ///< of a point
};

/// Reads finite numbers with commas, semicolons or blanks between them: three are a point, six a ray's origin
/// and direction. None for anything else, nor where a field is empty between others.
std::optional<Query> parseQuery(std::string_view text);

/// Reads a query from each line of a text file. Empty lines are skipped, and so is a first line that begins
/// with a letter or a quote: the columns' names. Throws Failure, with the line's number, for any other line.
std::vector<Query> readQueries(const std::string& path);

/// The table of answers as CSV with a line of names, one line a query; what a query has no answer to is
/// empty.
std::string answerTable(const std::vector<Query>& queries, const std::vector<Answer>& answers);

/// The table of points and their distances as CSV with a line of names.
std::string distanceTable(const std::vector<Query>& points, std::span<const double> distances);

}  // namespace tavrix::tool
