#pragma once

#include <string>

#include <tavrix/foundation/Box3.h>

// What the program tells of surfaces that are made block by block.

namespace tavrix::tool
{

/// The line of a summary that tells of the lattice.
std::string latticeText(double spacing, uint64 blocks);

/// Throws the Failure that the lattice cannot span the box and what reaches beyond it; names a spacing that
/// could, after the hint.
[[noreturn]] void failTooWide(const Box3D& box, double reach, double spacing, const std::string& file,
                              const std::string& hint = {});
/// Throws the Failure that the work takes more bytes than were granted; names a spacing that would fit, after
/// the hint.
[[noreturn]] void failTooLarge(double bytes, double granted, double spacing, const std::string& file,
                               const std::string& hint = {});

}  // namespace tavrix::tool
