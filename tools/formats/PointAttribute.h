#pragma once

#include <string>
#include <variant>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::formats
{

/// What a file holds for each of its points under one name: numbers or vectors, as many as there are points,
/// all finite (what is not is 0). Whole numbers become floats; two components become a vector with z = 0, and
/// what has four or more becomes an attribute of numbers for each, name_0, name_1 and so on.
struct PointAttribute
{
    std::string name;
    std::variant<Array<float>, Array<Vector3F>> values;
};

}  // namespace tavrix::formats
