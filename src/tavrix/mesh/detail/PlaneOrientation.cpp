#include <tavrix/mesh/detail/PlaneOrientation.h>

#include <array>
#include <cmath>

namespace tavrix::detail
{

namespace
{

/// A number as the sum of two that do not overlap.
struct Expanded
{
    double high, low;
};

Expanded sumOf(double a, double b)
{
    const double sum = a + b, part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

/// The halves of a number's digits, whose products are exact.
Expanded halvesOf(double a)
{
    const double spread = 134217729.0 * a, high = spread - (spread - a);
    return {high, a - high};
}

Expanded productOf(double a, double b)
{
    const double product = a * b;
    const Expanded x = halvesOf(a), y = halvesOf(b);
    return {product, x.low * y.low - (((product - x.high * y.high) - x.low * y.high) - x.high * y.low)};
}

/// A sum that loses nothing: parts that do not overlap, by growing magnitude.
class ExactSum
{
public:
    void add(double value)
    {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < _count; ++i)
        {
            const Expanded sum = sumOf(value, _parts[i]);
            if (sum.low != 0) _parts[kept++] = sum.low;
            value = sum.high;
        }
        if (value != 0) _parts[kept++] = value;
        _count = kept;
    }
    void addProduct(double a, double b)
    {
        const Expanded product = productOf(a, b);
        add(product.low);
        add(product.high);
    }
    int sign() const { return _count == 0 ? 0 : _parts[_count - 1] > 0 ? 1 : -1; }

private:
    std::array<double, 12> _parts;
    std::size_t _count = 0;
};

int exactSideOf(const Vector2<double>& a, const Vector2<double>& b, const Vector2<double>& c)
{
    ExactSum area;
    for (const auto& [p, q] : {std::pair{&a, &b}, std::pair{&b, &c}, std::pair{&c, &a}})
    {
        area.addProduct(p->x, q->y);
        area.addProduct(-p->y, q->x);
    }
    return area.sign();
}

}  // namespace

int sideOf(const Vector2<double>& a, const Vector2<double>& b, const Vector2<double>& c)
{
    constexpr double errorBound = 4e-16;
    const double left = (a.x - c.x) * (b.y - c.y), right = (a.y - c.y) * (b.x - c.x), area = left - right;
    if (std::abs(area) > errorBound * (std::abs(left) + std::abs(right))) return area > 0 ? 1 : -1;
    return exactSideOf(a, b, c);
}

}  // namespace tavrix::detail
