#pragma once

// Embree as a peer for rays against triangles, in a source of its own. Everything on the caller's thread.

struct EmbreeRays
{
    double buildSeconds;  ///< of the scene with its tree
    double castSeconds;   ///< of all rays, one rtcIntersect1 each
};

/// Casts rays (origin and direction, six numbers each) at the triangles (three coordinates a point, three
/// point numbers a triangle). distances[n] becomes the first hit's in lengths of the direction, -1 for none.
EmbreeRays castWithEmbree(const float* points, unsigned pointCount, const unsigned* triangles,
                          unsigned triangleCount, const float* rays, unsigned rayCount, float* distances);
