#pragma once

#include <tavrix/fields/ScalarField2.h>
#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/Vector2Field2.h>
#include <tavrix/fields/Vector3Field3.h>

namespace tavrix
{

/// Derivatives that lead from fields of vectors to fields of numbers, or back: `out` gets the grid and the
/// derivative at every node, by central differences, one-sided ones at borders, and none along an axis of one
/// node. In single and double precision; the same bytes for every thread count. The gradient of a field in
/// space is its own (ScalarField3_base::gradient), and so is the curl (Vector3Field3::curl); in the plane the
/// curl of (u, v) is the number dv/dx - du/dy.
/// @{
template <class Value, class Coord>
void divergence(const Vector3Field3<Value, Coord>& field, ScalarField3<Value, Coord>& out,
                uint32 threadCount = 1);
template <class Value>
void divergence(const Vector2Field2<Value>& field, ScalarField2<Value>& out);
template <class Value>
void curl(const Vector2Field2<Value>& field, ScalarField2<Value>& out);
template <class Value>
void gradient(const ScalarField2<Value>& field, Vector2Field2<Value>& out);
/// @}

}  // namespace tavrix
