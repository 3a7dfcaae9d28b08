#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

#include "formats/Bytes.h"
#include "formats/PointAttribute.h"

namespace tavrix::formats
{

/// The types of numbers in files.
enum class Number : uint8
{
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Int64,
    UInt64,
    Half,
    Float,
    Double,
};

std::size_t sizeOf(Number type);

/// One number a point, wherever it lies in memory: that of point n at data + n * stride, through the divisor.
struct Component
{
    const char* data;
    std::size_t stride;
    Number type;
    bool isSwapped = false;  ///< of the other byte order than this machine's
    float divisor = 1;
};

/// A named quantity: one component or several.
struct Column
{
    std::string name;
    std::vector<Component> components;
};

/// Components that lie beside each other, the first one's first number at `data`.
Column columnOf(std::string name, std::size_t componentCount, const Component& first);

/// What a file holds for its points: columns that look at its bytes, which are not decoded yet.
struct PointTable
{
    uint32 count = 0;
    Column positions;                                    ///< no components: not found yet
    std::vector<Column> columns;                         ///< all others
    std::vector<std::shared_ptr<const void>> storage{};  ///< what the columns look at
};

/// Whether a vector of this name, in small letters or capitals, tells where points are.
bool isPositionName(std::string_view name);

/// Makes vectors of columns of numbers that belong together by their names: x, y, z (and 0, 1, 2) behind one
/// stem, vx, vy, vz, nx, ny, nz, and red, green, blue, which as bytes become 0 to 1. A vector that its name
/// calls positions becomes the positions, when there are none yet.
void gatherVectors(PointTable& table);

/// The decoded points.
struct PointData
{
    Array<Vector3F> positions;
    std::vector<PointAttribute> attributes;
};

/// Decodes all columns, in one pass over the file's bytes. Positions of two components get z = 0, and may be
/// not finite.
PointData decode(const PointTable& table);

/// The attribute of vectors with one of the names, in small letters or capitals, taken out of the list; empty
/// when there is none.
Array<Vector3F> takeVectors(std::vector<PointAttribute>& attributes,
                            std::initializer_list<std::string_view> names);

/// Puts the points of another piece behind these; attributes that not both have are dropped.
void append(PointData& all, PointData&& piece);

/// The component's first number, as a float or a whole number.
/// @{
float firstFloat(const Component& component);
int64 firstInteger(const Component& component);
/// @}

/// All the numbers of a component as whole ones: indices. What does not fit becomes -1.
Array<int64> integersOf(const Component& component, uint32 count);

}  // namespace tavrix::formats
