"""Nothing that Python passes crashes: shapes, dtypes, strides, values and sizes of all kinds, to every call."""

import pickle

import numpy
import pytest

import tavrix

hypothesis = pytest.importorskip("hypothesis")
from hypothesis import strategies as some  # noqa: E402
from hypothesis.extra import numpy as arrays  # noqa: E402

# What a call may answer with instead of a result.
REFUSALS = (ValueError, TypeError, MemoryError, OverflowError, RuntimeError, IndexError, KeyError)

DTYPES = some.one_of(
    arrays.floating_dtypes(sizes=(16, 32, 64)),
    arrays.integer_dtypes(),
    arrays.unsigned_integer_dtypes(),
    some.sampled_from([numpy.dtype(bool), numpy.dtype(complex), numpy.dtype("U3")]),
)
SHAPES = some.one_of(
    some.tuples(some.integers(0, 40), some.just(3)),
    arrays.array_shapes(min_dims=0, max_dims=4, min_side=0, max_side=6),
)


@some.composite
def strided(draw):
    """An array of any dtype and shape, as a view that may step, run backwards or be transposed."""
    array = draw(arrays.arrays(draw(DTYPES), draw(SHAPES)))
    how = draw(some.sampled_from(["as it is", "step", "backwards", "columns", "read-only", "repeated"]))
    if how == "step" and array.ndim:
        return numpy.repeat(array, 2, axis=0)[::2]
    if how == "backwards" and array.ndim:
        return array[::-1]
    if how == "columns":
        return numpy.asfortranarray(array)
    if how == "read-only":
        array.flags.writeable = False
    if how == "repeated" and array.ndim and array.size:
        return numpy.broadcast_to(array[:1], (5, *array.shape[1:]))
    return array


POINTS = arrays.arrays(
    some.sampled_from(["f4", "f8"]),
    some.tuples(some.integers(0, 60), some.just(3)),
    elements=some.one_of(
        some.floats(-3, 3, width=32), some.sampled_from([0.0, 1.0, numpy.nan, numpy.inf, 2.0**100, -(2.0**-100)])),
)
NUMBERS = some.one_of(
    some.floats(), some.floats(0.05, 4), some.integers(-3, 300), some.just(None), some.just(2**70), some.text(max_size=3)
)
ANYTHING = some.one_of(strided(), POINTS, NUMBERS, some.lists(some.integers(), max_size=3), some.just({}))


def tried(call):
    """The result, or None when the call refuses."""
    try:
        return call()
    except REFUSALS:
        return None


def looked_at(mesh):
    """Touches every byte that a mesh shows."""
    if mesh is None:
        return
    for array in [mesh.vertices, mesh.faces, *mesh.attributes.values()]:
        array.sum()
    assert not len(mesh.faces) or mesh.faces.max() < len(mesh.vertices)
    if mesh.normals is not None:
        assert not len(mesh.faces) or mesh.normal_faces.max() < len(mesh.normals)


fuzzed = hypothesis.settings(database=None, deadline=None, max_examples=60, suppress_health_check=list(hypothesis.HealthCheck))


@fuzzed
@hypothesis.given(ANYTHING, ANYTHING, ANYTHING, some.dictionaries(some.text(max_size=3), ANYTHING, max_size=2))
def test_meshes_of_anything(vertices, faces, normals, attributes):
    mesh = tried(lambda: tavrix.Mesh(vertices, faces, normals, attributes))
    looked_at(mesh)


@some.composite
def meshes(draw):
    points = draw(POINTS.filter(len))
    count = draw(some.integers(0, 80))
    faces = draw(arrays.arrays("u4", (count, 3), elements=some.integers(0, len(points) - 1)))
    mesh = tavrix.Mesh(points, faces)
    if draw(some.booleans()):
        mesh.attributes["heat"] = points[:, 0]
    return mesh.with_normals(crease=draw(some.floats(0, 180))) if draw(some.booleans()) else mesh


@fuzzed
@hypothesis.given(meshes(), some.data())
def test_any_mesh_survives_any_operation(mesh, data):
    number = lambda: data.draw(NUMBERS)  # noqa: E731
    operations = [
        lambda: mesh.with_normals(crease=number(), threads=number()),
        lambda: mesh.smooth(data.draw(some.integers(-1, 30))),
        lambda: mesh.weld(number()),
        lambda: mesh.decimate(ratio=number(), error=number()),
        lambda: mesh.clip(data.draw(ANYTHING), (1, 1, 1), closed=True),
        lambda: (mesh.slice(data.draw(ANYTHING), data.draw(ANYTHING)), None)[1],
        lambda: (mesh.slice([0, data.draw(some.floats(-1, 2))], (0, 1, number()), open=True), None)[1],
        lambda: mesh.clip((-1, -1, -1), (1, 1, data.draw(some.floats(-1, 2))), closed=True),
        lambda: mesh.subdivide(data.draw(some.integers(0, 2)), sharp=number()),
        lambda: mesh.split_edges(data.draw(some.floats(0.2, 3))),
        lambda: mesh.displace(data.draw(some.one_of(NUMBERS, ANYTHING))),
        lambda: mesh.remesh(data.draw(some.floats(0.2, 3)), sharp=number(), rounds=2),
        lambda: mesh.fill_holes(data.draw(some.integers(0, 50))),
        lambda: mesh.repair(),
        lambda: mesh.flip(),
        lambda: mesh.fill_cavities(),
        lambda: mesh.separate_sheets(),
        lambda: mesh.offset(number(), data.draw(some.floats(0.2, 1)), memory=10**8),
        lambda: pickle.loads(pickle.dumps(mesh)),
    ]
    for operation in data.draw(some.lists(some.sampled_from(operations), max_size=4)):
        looked_at(tried(operation))
    for question in ["area", "volume", "bounds", "topology", "is_closed", "part_count", "cavity_count"]:
        getattr(mesh, question)
    mesh.face_normals()
    mesh.vertices[:] = data.draw(some.floats(width=32))
    assert mesh.bounds is not None


@fuzzed
@hypothesis.given(ANYTHING, NUMBERS, NUMBERS, NUMBERS, some.dictionaries(some.text(max_size=3), ANYTHING, max_size=2))
def test_surfaces_of_any_particles(positions, radius, spacing, other, attributes):
    looked_at(tried(lambda: tavrix.reconstruct(
        positions, radius, spacing=spacing, influence=other, attributes=attributes, memory=10**8)))
    tried(lambda: tavrix.Field.from_particles(positions, radius, spacing, low=(-1, -1, -1), high=(1, 1, 1)))
    particles = tried(lambda: tavrix.Particles(positions, positions))
    if particles is not None:
        tried(lambda: particles.spacing())
        tried(lambda: particles.neighbour_counts(radius))
        tried(lambda: particles.strays(radius, other))
        tried(lambda: particles.interpolate(positions, positions, radius))
        tried(lambda: particles.write("any.bin"))


@fuzzed
@hypothesis.given(ANYTHING, NUMBERS, ANYTHING, ANYTHING, POINTS)
def test_fields_of_anything(samples, level, spacing, origin, points):
    looked_at(tried(lambda: tavrix.marching_cubes(samples, level)))
    looked_at(tried(lambda: tavrix.marching_cubes(samples, level, spacing, origin, inside="below", clean=False)))
    for kind in [tavrix.Field, tavrix.LevelSet]:
        field = tried(lambda: kind(samples, spacing, origin)) or tried(lambda: kind(samples))
        if field is None:
            continue
        tried(lambda: field.evaluate(points))
        tried(lambda: field.gradient(samples))
        looked_at(tried(lambda: field.extract()))
        tried(lambda: field.copy())
        if kind is tavrix.Field:
            tried(lambda: field.gradients())
            tried(lambda: field.diffuse(level))
        else:
            for changed in [field.redistance, field.invert]:
                looked_at(changed().extract())
            tried(lambda: field.offset(min(level, 3)))
            tried(lambda: field.shell(min(level, 3)))


@fuzzed
@hypothesis.given(meshes(), ANYTHING, POINTS, NUMBERS)
def test_questions_of_any_kind(mesh, anything, points, limit):
    collider = tavrix.Collider(mesh)
    for questions in [anything, points]:
        tried(lambda: collider.nearest(questions, limit=limit))
        tried(lambda: collider.cast_rays(questions, questions[::-1], limit=limit))
        tried(lambda: collider.contains(questions))
        tried(lambda: collider.signed_distance(questions, threads=limit))
        tried(lambda: collider.overlapping(questions, (1, 1, 1)))
    near = collider.nearest(points)
    assert near.face.max(initial=-1) < len(mesh.faces)
