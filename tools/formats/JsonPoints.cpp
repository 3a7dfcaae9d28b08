#include "formats/JsonPoints.h"

#include <algorithm>
#include <limits>
#include <map>

#include <nlohmann/json.hpp>

#include "formats/Failure.h"

namespace tavrix::formats
{

namespace
{

constexpr float missing = std::numeric_limits<float>::quiet_NaN();

/// The numbers of one name, equally many for each point from the first one on that has any.
struct Values
{
    std::size_t firstPoint = 0;
    std::size_t components = 0;  ///< 0 until the first point is done
    std::vector<float> numbers;

    std::size_t points() const { return components == 0 ? 0 : firstPoint + numbers.size() / components; }
};

/// Takes the numbers as the parser comes upon them. What counts is which brackets are open, without that of
/// an object around it all: [[ is within a point that is an array, [{ within one that is an object, [{[
/// within one of its vectors, and [ among numbers that are one for each point.
class PointSink final : public nlohmann::json_sax<nlohmann::json>
{
public:
    bool null() override { return take(missing); }
    bool boolean(bool) override { return take(missing); }
    bool number_integer(number_integer_t number) override { return take(static_cast<float>(number)); }
    bool number_unsigned(number_unsigned_t number) override { return take(static_cast<float>(number)); }
    bool number_float(number_float_t number, const string_t&) override
    {
        return take(static_cast<float>(number));
    }
    bool string(string_t&) override { return take(missing); }
    bool binary(binary_t&) override { return take(missing); }

    bool start_array(std::size_t) override
    {
        _open += '[';
        if (within() == "[") _point = 0;
        if (within() == "[[") begin(_member, _point);
        if (within() == "[{[") begin(_field, _objects);
        return _open.size() < deepest;
    }
    bool end_array() override
    {
        if (within() == "[[") end(_point++);
        if (within() == "[{[") end(_objects);
        _open.pop_back();
        return true;
    }
    bool start_object(std::size_t) override
    {
        _open += '{';
        return _open.size() < deepest;
    }
    bool end_object() override
    {
        if (within() == "[{") ++_objects;
        _open.pop_back();
        return true;
    }
    bool key(string_t& name) override
    {
        if (within() == "[{") _field = name;
        if (_open == "{") _member = name;
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception&) override
    {
        return false;
    }

    std::map<std::string, Values>& columns() { return _columns; }

private:
    static constexpr std::size_t deepest = 100;

    std::string_view within() const
    {
        const std::string_view open = _open;
        return open.starts_with('{') ? open.substr(1) : open;
    }

    bool take(float number)
    {
        const std::string_view at = within();
        if (at == "[[" || at == "[{[")
            put(number);
        else if (at == "[{")
            begin(_field, _objects), put(number), end(_objects);
        else if (at == "[")
            begin(_member, _point), put(number), end(_point++);
        return true;
    }

    void begin(const std::string& name, std::size_t point)
    {
        _values = &_columns[name];
        _component = 0;
        if (_values->numbers.empty())
            _values->firstPoint = point;
        else
            fill(point);
    }

    void put(float number)
    {
        if (_values->components == 0 || _component < _values->components) _values->numbers.push_back(number);
        ++_component;
    }

    void end(std::size_t point)
    {
        if (_values->components == 0) _values->components = _values->numbers.size();
        if (_values->components > 0) fill(point + 1);
    }

    /// Makes the numbers of all points before this one complete.
    void fill(std::size_t point)
    {
        const std::size_t points = point - std::min(point, _values->firstPoint);
        if (_values->components > 0) _values->numbers.resize(points * _values->components, missing);
    }

    std::string _open;
    std::string _member, _field;           ///< the last keys, of the object around it all and of a point
    std::size_t _point = 0, _objects = 0;  ///< of the present array, and of all that are objects
    std::size_t _component = 0;
    Values* _values = nullptr;
    std::map<std::string, Values> _columns;
};

/// Puts the points in front for which there are no numbers, so that the first one is the file's first.
void alignToFirst(Values& values)
{
    values.numbers.insert(values.numbers.begin(), values.firstPoint * values.components, missing);
    values.firstPoint = 0;
}

/// How many points there are: as many as the longest column has; of vectors that stand in one flat row, a
/// third.
std::size_t countPoints(const std::map<std::string, Values>& columns)
{
    std::size_t count = 0;
    for (const auto& [name, values] : columns)
    {
        const bool isFlat = values.components == 1 && isPositionName(name) && values.points() % 3 == 0;
        if (isFlat) return values.points() / 3;
        if (isPositionName(name)) return values.points();
        count = std::max(count, values.points());
    }
    return count;
}

void addColumns(PointTable& table, const std::string& name, const std::vector<float>& numbers)
{
    const std::size_t components = numbers.size() / table.count;
    const Component first{reinterpret_cast<const char*>(numbers.data()), components * sizeof(float),
                          Number::Float};
    Column column = columnOf(name, components, first);
    // points that are arrays begin with x, y and z
    std::vector<Component> others;
    if (name.empty() && components > 3)
    {
        others.assign(column.components.begin() + 3, column.components.end());
        column.components.resize(3);
    }
    table.columns.push_back({name.empty() ? "position" : name, std::move(column.components)});
    for (std::size_t n = 0; n < others.size(); ++n)
        table.columns.push_back({"column_" + std::to_string(n + 4), {others[n]}});
}

}  // namespace

PointTable readJsonPoints(const Bytes& bytes, const std::string& path)
{
    const auto sink = std::make_shared<PointSink>();
    const std::string_view text = bytes.view();
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), sink.get()))
        throw Failure(path + ": is damaged or cut off JSON; export it again");
    PointTable table;
    table.count = Array<float>::checkedSize(countPoints(sink->columns()));
    for (auto& [name, values] : sink->columns())
    {
        if (values.components == 0 || table.count == 0) continue;
        alignToFirst(values);
        // a column that ends early goes on with nothing; flat vectors are three times as long
        if (values.points() < table.count) values.numbers.resize(table.count * values.components, missing);
        if (values.numbers.size() % table.count == 0) addColumns(table, name, values.numbers);
    }
    table.storage.push_back(sink);
    return table;
}

}  // namespace tavrix::formats
