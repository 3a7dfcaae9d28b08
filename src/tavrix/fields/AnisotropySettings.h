#pragma once

namespace tavrix
{

/// How anisotropic kernels follow the neighbourhoods of their particles; the defaults suit liquids whose
/// radii are about the spacing of the particles and more.
struct AnisotropySettings
{
    /// Radius of a particle's neighbourhood, in its radii: 0.1 to 100.
    float neighbourReach = 3.0f;
    /// How far a particle's centre moves towards the average of its neighbourhood: 0 not at all, 1 all the
    /// way.
    float smoothing = 0.9f;
    /// No kernel is flatter than this: its longest axis over its shortest, 1 to 1000.
    float largestRatio = 4.0f;
    /// Neighbours (counted by their weights, which fall from 1 to 0 with the distance) from which on a kernel
    /// takes its full shape; with fewer it stays closer to the ball. 1 to 1e6.
    float fullNeighbours = 4.0f;
    /// The amplitude of a kernel without neighbours; with more it comes closer to 1, which it is with full
    /// ones. 0.001 to 1000.
    float loneAmplitude = 1.0f;
};

}  // namespace tavrix
