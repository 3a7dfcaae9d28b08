#include <tavrix/foundation/ElementaryFunctions.h>

#include <limits>

#include <tavrix/platform/Types.h>

namespace tavrix
{

namespace
{

/// sin r for |r| <= pi/4.
double sinePolynomial(double r)
{
    const double z = r * r;
    double p = 1.5897053518257412e-10;
    p = p * z - 2.5050763409370568e-08;
    p = p * z + 2.7557313732828297e-06;
    p = p * z - 0.00019841269829954245;
    p = p * z + 0.00833333333332265;
    p = p * z - 0.16666666666666632;
    return r + r * (z * p);
}

/// cos r for |r| <= pi/4.
double cosinePolynomial(double r)
{
    const double z = r * r;
    double p = -1.1363947242726626e-11;
    p = p * z + 2.0875813263642904e-09;
    p = p * z - 2.755731507763413e-07;
    p = p * z + 2.4801587292272287e-05;
    p = p * z - 0.0013888888888879188;
    p = p * z + 0.04166666666666664;
    return 1.0 - (0.5 * z - z * z * p);
}

/// x - n pi/2, with the first three parts of pi/2 short enough (33 bits) for exact products with |n| < 2^20.
double subtractQuarterTurns(double x, double n)
{
    const double r = (x - n * 1.5707963267341256) - n * 6.077100506303966e-11;
    return (r - n * 2.0222662487111665e-21) - n * 8.4784276603689e-32;
}

}  // namespace

std::pair<double, double> sineCosine(double x)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double largestReduced = 1e6;
    if (!std::isfinite(x)) return {nan, nan};
    if (std::fabs(x) > largestReduced) x = std::fmod(x, 2.0 * piValue);

    const double n = std::floor(x * (2.0 / piValue) + 0.5);
    const double r = subtractQuarterTurns(x, n);
    const double s = sinePolynomial(r);
    const double c = cosinePolynomial(r);
    switch (static_cast<int32>(n) & 3)
    {
        case 0:
            return {s, c};
        case 1:
            return {c, -s};
        case 2:
            return {-s, -c};
        default:
            return {-c, s};
    }
}

}  // namespace tavrix
