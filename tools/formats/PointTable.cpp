#include "formats/PointTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace tavrix::formats
{

namespace
{

/// Points are decoded so many at a time, all columns of them, which stay in the nearest caches.
constexpr uint32 blockSize = 1024;

template <class T>
T swapped(T value)
{
    using Bits =
        std::conditional_t<sizeof(T) == 2, uint16, std::conditional_t<sizeof(T) == 4, uint32, uint64>>;
    Bits bits = 0, turned = 0;
    std::memcpy(&bits, &value, sizeof value);
    for (std::size_t n = 0; n < sizeof value; ++n)
        turned = static_cast<Bits>(turned << 8 | (bits >> (8 * n) & 0xFF));
    std::memcpy(&value, &turned, sizeof value);
    return value;
}

template <class T, bool isSwapped>
T load(const char* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    if constexpr (isSwapped && sizeof(T) > 1) value = swapped(value);
    return value;
}

/// IEEE half precision, read as 16 bits.
struct Half
{
    uint16 bits;
    explicit operator float() const
    {
        const uint32 exponent = bits >> 10 & 31, fraction = bits & 1023;
        const auto significand = static_cast<float>(exponent == 0 ? fraction : fraction + 1024);
        float value = std::ldexp(significand, static_cast<int>(std::max(exponent, 1u)) - 25);
        if (exponent == 31)
            value = fraction == 0 ? std::numeric_limits<float>::infinity()
                                  : std::numeric_limits<float>::quiet_NaN();
        return bits & 0x8000 ? -value : value;
    }
    explicit operator int64() const { return static_cast<int64>(static_cast<float>(*this)); }
};

template <class T>
struct TypeOf
{
    using Type = T;
};

/// The types of numbers in C++, in the order of Number.
using NumberTypes =
    std::variant<TypeOf<int8_t>, TypeOf<uint8>, TypeOf<int16>, TypeOf<uint16>, TypeOf<int32>, TypeOf<uint32>,
                 TypeOf<int64>, TypeOf<uint64>, TypeOf<Half>, TypeOf<float>, TypeOf<double>>;

template <std::size_t... indices>
NumberTypes typeAt(std::size_t index, std::index_sequence<indices...>)
{
    static constexpr NumberTypes types[] = {NumberTypes(std::in_place_index<indices>)...};
    return types[index];
}

/// Calls visit(TypeOf<T>()) with the type that the number has in C++.
template <class Visit>
auto withType(Number type, const Visit& visit)
{
    constexpr std::size_t count = std::variant_size_v<NumberTypes>;
    return std::visit(visit, typeAt(static_cast<std::size_t>(type), std::make_index_sequence<count>()));
}

/// Writes convert(number) of some points to out[0], out[outStride] and so on.
template <class T, bool isSwapped, class Out, class Convert>
void copyTyped(const Component& from, uint32 begin, uint32 end, Out* out, std::size_t outStride,
               const Convert& convert)
{
    const char* data = from.data + begin * from.stride;
    const uint32 count = end - begin;
    if (from.stride == sizeof(T) && outStride == 1)
    {
        for (uint32 n = 0; n < count; ++n) out[n] = convert(load<T, isSwapped>(data + n * sizeof(T)));
        return;
    }
    for (uint32 n = 0; n < count; ++n, data += from.stride, out += outStride)
        *out = convert(load<T, isSwapped>(data));
}

template <class Out, class Convert>
void copyNumbers(const Component& from, uint32 begin, uint32 end, Out* out, std::size_t outStride,
                 const Convert& convert)
{
    withType(from.type,
             [&](auto number)
             {
                 using T = typename decltype(number)::Type;
                 if (from.isSwapped)
                     copyTyped<T, true>(from, begin, end, out, outStride, convert);
                 else
                     copyTyped<T, false>(from, begin, end, out, outStride, convert);
             });
}

void copyFloats(const Component& from, uint32 begin, uint32 end, float* out, std::size_t outStride)
{
    if (from.divisor == 1)
        copyNumbers(from, begin, end, out, outStride, [](auto value) { return static_cast<float>(value); });
    else
        copyNumbers(from, begin, end, out, outStride,
                    [&](auto value) { return static_cast<float>(value) / from.divisor; });
}

void copyIntegers(const Component& from, uint32 count, int64* out)
{
    const auto convert = [](auto value)
    {
        if constexpr (std::is_floating_point_v<decltype(value)>)
            return value >= 0 && value < 1e18 ? static_cast<int64>(value) : int64{-1};
        else
            return static_cast<int64>(value);
    };
    copyNumbers(from, 0, count, out, 1, convert);
}

enum class Infinite
{
    Stays,
    BecomesZero,
};

/// Where components are decoded to: so many floats a point, side by side.
struct Destination
{
    std::span<const Component> components;
    float* floats;
    std::size_t width;  ///< 1, or 3 for vectors
    Infinite infinite;
};

/// The numbers of a vector's three components as those of one, when they lie so: x, y, z, x, y, z.
std::optional<Component> asOne(std::span<const Component> components)
{
    if (components.size() != 3) return std::nullopt;
    Component first = components[0];
    const std::size_t size = sizeOf(first.type);
    for (std::size_t c = 0; c < 3; ++c)
    {
        const Component& other = components[c];
        const bool follows = other.data == first.data + c * size && other.stride == 3 * size &&
                             other.type == first.type && other.isSwapped == first.isSwapped &&
                             other.divisor == first.divisor;
        if (!follows) return std::nullopt;
    }
    first.stride = size;
    return first;
}

void dropInfinite(float* values, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n) values[n] = std::isfinite(values[n]) ? values[n] : 0;
}

void decodeBlock(const Destination& to, uint32 begin, uint32 end)
{
    float* out = to.floats + to.width * begin;
    const std::size_t size = to.width * (end - begin);
    if (std::optional<Component> one = asOne(to.components))
    {
        one->data += std::size_t{begin} * 3 * one->stride;
        copyFloats(*one, 0, static_cast<uint32>(size), out, 1);
    }
    else
        for (std::size_t c = 0; c < to.components.size(); ++c)
            copyFloats(to.components[c], begin, end, out + c, to.width);
    for (std::size_t n = 2; to.components.size() == 2 && n < size; n += to.width) out[n] = 0;
    if (to.infinite == Infinite::BecomesZero) dropInfinite(out, size);
}

Destination vectors(Array<Vector3F>& to, std::span<const Component> from, Infinite infinite)
{
    return {from, reinterpret_cast<float*>(to.data()), 3, infinite};
}

/// Makes the attributes of a column, and tells where they are to be decoded to.
void addAttribute(std::vector<PointAttribute>& attributes, std::vector<Destination>& destinations,
                  const Column& column, uint32 count)
{
    const std::span<const Component> components = column.components;
    if (components.size() == 2 || components.size() == 3)
    {
        attributes.push_back({column.name, Array<Vector3F>(count)});
        auto& values = std::get<Array<Vector3F>>(attributes.back().values);
        destinations.push_back(vectors(values, components, Infinite::BecomesZero));
        return;
    }
    for (std::size_t c = 0; c < components.size(); ++c)
    {
        const std::string name = components.size() == 1 ? column.name : column.name + "_" + std::to_string(c);
        attributes.push_back({name, Array<float>(count)});
        float* floats = std::get<Array<float>>(attributes.back().values).data();
        destinations.push_back({components.subspan(c, 1), floats, 1, Infinite::BecomesZero});
    }
}

template <class T>
void appendTo(Array<T>& all, const Array<T>& more)
{
    const std::size_t size = all.size();
    const uint32 sum = Array<T>::checkedSize(size + more.size());
    all.makeRoom(sum);
    all.resize(sum);
    std::copy(more.begin(), more.end(), all.begin() + size);
}

// Names

std::string lower(std::string_view text)
{
    std::string small(text);
    for (char& c : small)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return small;
}

bool isIn(std::string_view text, std::initializer_list<std::string_view> texts)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// The name without a unit in brackets at its end.
std::string_view withoutUnit(std::string_view name)
{
    const std::size_t bracket = name.find_last_of("[(");
    const bool isUnit = bracket != std::string_view::npos && bracket > 0 &&
                        (name.back() == ']' || name.back() == ')') &&
                        name.find_first_of("012xyzXYZ", bracket) != bracket + 1;
    if (isUnit) name = name.substr(0, bracket);
    while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
    return name;
}

/// What a vector's component is called: the vector's name and the axis.
struct AxisName
{
    std::string stem;
    std::size_t axis;
};

/// Splits the name of a component; an axis of 3 when it is none.
AxisName splitName(std::string_view given)
{
    std::string_view name = withoutUnit(given);
    if (!name.empty() && (name.back() == ']' || name.back() == ')')) name.remove_suffix(1);
    if (name.empty()) return {"", 3};
    const std::string small = lower(name);
    static constexpr std::array<std::string_view, 3> colors{"red", "green", "blue"};
    for (std::size_t c = 0; c < 3; ++c)
        if (small == colors[c] || small == colors[c].substr(0, 1)) return {"color", c};

    std::size_t axis = std::string_view("xyz").find(small.back());
    const bool isDigit = small.back() >= '0' && small.back() <= '2';
    if (isDigit) axis = static_cast<std::size_t>(small.back() - '0');
    if (axis > 2) return {"", 3};
    const std::string_view stem = name.substr(0, name.size() - 1);
    if (stem.empty() && !isDigit) return {"position", axis};
    if (isIn(lower(stem), {"v", "n", "p"}) && !isDigit)
        return {stem == "v" || stem == "V"   ? "velocity"
                : stem == "n" || stem == "N" ? "normal"
                                             : "position",
                axis};
    if (stem.size() > 1 && std::string_view("_:.- [(").find(stem.back()) != std::string_view::npos)
        return {std::string(stem.substr(0, stem.size() - 1)), axis};
    const bool isCamel = stem.size() > 1 && stem.back() >= 'a' && stem.back() <= 'z' && name.back() >= 'X' &&
                         name.back() <= 'Z';
    return isCamel ? AxisName{std::string(stem), axis} : AxisName{"", 3};
}

/// The columns that together are a vector of that name; `find` tells of each axis where it is, or -1.
struct Gathered
{
    std::string stem;
    std::array<std::size_t, 3> columns;
    std::size_t found = 0;
};

constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

std::vector<Gathered> componentsByStem(const std::vector<Column>& columns)
{
    std::vector<Gathered> all;
    for (std::size_t n = 0; n < columns.size(); ++n)
    {
        if (columns[n].components.size() != 1) continue;
        const AxisName name = splitName(columns[n].name);
        if (name.axis > 2) continue;
        auto same =
            std::find_if(all.begin(), all.end(), [&](const Gathered& g) { return g.stem == name.stem; });
        if (same == all.end()) same = all.insert(all.end(), {name.stem, {nowhere, nowhere, nowhere}});
        if (same->columns[name.axis] == nowhere) ++same->found;
        same->columns[name.axis] = n;
    }
    return all;
}

/// Whether they are all of a vector: three, or x and y of positions, and not the first ones of more.
bool isVector(const Gathered& gathered, const std::vector<Column>& columns)
{
    const bool isFlat =
        gathered.found == 2 && gathered.columns[2] == nowhere && isPositionName(gathered.stem);
    const auto isFourth = [&](const Column& column) { return column.name == gathered.stem + "_3"; };
    return isFlat || (gathered.found == 3 && std::none_of(columns.begin(), columns.end(), isFourth));
}

Column vectorOf(const Gathered& gathered, std::vector<Column>& columns)
{
    Column vector{gathered.stem, {}};
    for (const std::size_t n : gathered.columns)
    {
        if (n == nowhere) continue;
        Component& component = columns[n].components[0];
        if (gathered.stem == "color" && component.type == Number::UInt8) component.divisor = 255;
        vector.components.push_back(component);
        columns[n].components.clear();
    }
    return vector;
}

}  // namespace

bool isPositionName(std::string_view name)
{
    return isIn(lower(name), {"position", "positions", "pos", "p", "point", "points", "coordinate",
                              "coordinates", "coord", "coords", "xyz", "location", ""});
}

std::size_t sizeOf(Number type)
{
    return withType(type, [](auto number) { return sizeof(typename decltype(number)::Type); });
}

Column columnOf(std::string name, std::size_t componentCount, const Component& first)
{
    Column column{std::move(name), {}};
    for (std::size_t c = 0; c < componentCount; ++c)
    {
        column.components.push_back(first);
        column.components.back().data += c * sizeOf(first.type);
    }
    return column;
}

void gatherVectors(PointTable& table)
{
    for (const Gathered& gathered : componentsByStem(table.columns))
        if (isVector(gathered, table.columns))
        {
            const std::size_t place = *std::min_element(gathered.columns.begin(), gathered.columns.end());
            Column vector = vectorOf(gathered, table.columns);
            table.columns[place] = std::move(vector);
        }
    std::erase_if(table.columns, [](const Column& column) { return column.components.empty(); });
    if (!table.positions.components.empty()) return;
    const auto isPosition = [](const Column& column)
    {
        const std::size_t size = column.components.size();
        return (size == 2 || size == 3) && isPositionName(column.name);
    };
    const auto found = std::find_if(table.columns.begin(), table.columns.end(), isPosition);
    if (found == table.columns.end()) return;
    table.positions = std::move(*found);
    table.columns.erase(found);
}

PointData decode(const PointTable& table)
{
    PointData data{Array<Vector3F>(table.count), {}};
    // arrays keep their places when the list of them grows, and the list is moved
    std::vector<Destination> destinations{
        vectors(data.positions, table.positions.components, Infinite::Stays)};
    for (const Column& column : table.columns)
        addAttribute(data.attributes, destinations, column, table.count);
    for (uint32 begin = 0, end = 0; begin < table.count; begin = end)
    {
        end = begin + std::min(table.count - begin, blockSize);
        for (const Destination& destination : destinations) decodeBlock(destination, begin, end);
    }
    return data;
}

Array<Vector3F> takeVectors(std::vector<PointAttribute>& attributes,
                            std::initializer_list<std::string_view> names)
{
    for (const std::string_view name : names)
        for (auto attribute = attributes.begin(); attribute != attributes.end(); ++attribute)
        {
            auto* vectors = std::get_if<Array<Vector3F>>(&attribute->values);
            if (!vectors || lower(attribute->name) != name) continue;
            Array<Vector3F> taken = std::move(*vectors);
            attributes.erase(attribute);
            return taken;
        }
    return {};
}

void append(PointData& all, PointData&& piece)
{
    if (all.positions.empty())
    {
        all = std::move(piece);
        return;
    }
    if (piece.positions.empty()) return;
    appendTo(all.positions, piece.positions);
    const auto lacksPartner = [&](PointAttribute& attribute)
    {
        for (const PointAttribute& other : piece.attributes)
            if (other.name == attribute.name && other.values.index() == attribute.values.index())
            {
                std::visit([&](auto& values)
                           { appendTo(values, std::get<std::decay_t<decltype(values)>>(other.values)); },
                           attribute.values);
                return false;
            }
        return true;
    };
    std::erase_if(all.attributes, lacksPartner);
}

float firstFloat(const Component& component)
{
    float value = 0;
    copyFloats(component, 0, 1, &value, 1);
    return value;
}

int64 firstInteger(const Component& component)
{
    int64 value = 0;
    copyIntegers(component, 1, &value);
    return value;
}

Array<int64> integersOf(const Component& component, uint32 count)
{
    Array<int64> integers(count);
    copyIntegers(component, count, integers.data());
    return integers;
}

}  // namespace tavrix::formats
