// A block of particles: how far apart they lie, and which have few neighbours.
#include <cstdio>

#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    Array<Vector3F> positions;
    for (uint32 n = 0; n < 1000; ++n)
        positions.push_back({float(n % 10), float(n / 10 % 10), float(n / 100)});
    const double spacing = estimateSpacing(positions);
    const Array<uint32> strays = findStrays(positions, 1.1 * spacing, 4);
    std::printf("%g apart; %u, the corners, have fewer than 4 neighbours\n", spacing, strays.size());
    return strays.size() == 8 ? 0 : 1;
}
