#include "commands/ParticleCrop.h"

#include <variant>

#include <CLI/CLI.hpp>

#include "arguments/Validators.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

bool isInside(const Box3D& box, const Vector3F& p)
{
    const Vector3D q = convert<double>(p);
    return q.x >= box.min.x && q.y >= box.min.y && q.z >= box.min.z && q.x <= box.max.x && q.y <= box.max.y &&
           q.z <= box.max.z;
}

/// Keeps the elements of the numbers, which ascend.
template <class T>
void keep(Array<T>& values, const Array<uint32>& numbers)
{
    if (values.empty()) return;
    for (uint32 n = 0; n < numbers.size(); ++n) values[n] = values[numbers[n]];
    values.resize(numbers.size());
}

}  // namespace

void addCrop(CLI::App& command, std::optional<Box3D>& box)
{
    command
        .add_option_function<std::string>(
            "--crop", [&box](const std::string& text) { box = parseBox(text); },
            "Leave out particles that lie outside this box: its lowest corner, then its highest")
        ->check(boxCorners)
        ->option_text("X,Y,Z,X,Y,Z")
        ->group("Particles");
}

void cropParticles(formats::ParticleFile& particles, const Box3D& box, const std::string& file)
{
    Array<uint32> inside;
    for (uint32 n = 0; n < particles.positions.size(); ++n)
        if (isInside(box, particles.positions[n])) inside.push_back(n);
    if (inside.empty()) throw Failure(file + ": no particle lies in the box of --crop");
    keep(particles.positions, inside);
    keep(particles.velocities, inside);
    for (formats::PointAttribute& attribute : particles.attributes)
        std::visit([&](auto& values) { keep(values, inside); }, attribute.values);
}

}  // namespace tavrix::tool
