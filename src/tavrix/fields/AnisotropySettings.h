#pragma once

namespace tavrix
{

/// How anisotropic kernels follow the neighbourhoods of their particles; the defaults suit liquids whose
/// radii are about the spacing of the particles and more.
struct AnisotropySettings
{
    /// Radius of a particle's neighbourhood, in its radii.
    float neighbourReach = 3.0f;
    /// How far a particle's centre moves towards the average of its neighbourhood: 0 not at all, 1 all the
    /// way.
    float smoothing = 0.9f;
    /// No kernel is flatter than this: its longest axis over its shortest, at least 1.
    float largestRatio = 4.0f;
    /// Neighbours (counted by their weights, which fall from 1 to 0 with the distance) from which on a kernel
    /// takes its full shape; with fewer it stays closer to the ball. At least 1.
    float fullNeighbours = 4.0f;
};

}  // namespace tavrix
