// The surface where a field passes a level.
#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    ScalarField3<float, double> field;
    field.reset(33, 33, 33, 0.125);
    for (uint32 n = 0; n < field.size(); ++n) field.set(n, float(length(field.getPoint(n))));
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, 1.5, 0, 0, 0, 0, 0, 0, 2, nullptr, true);
    const double ball = 4.18879 * 1.5 * 1.5 * 1.5, volume = signedVolume(mesh);
    return volume < -0.98 * ball || volume > 0.98 * ball ? 0 : 1;
}
