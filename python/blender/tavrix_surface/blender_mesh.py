"""Between the kernel's meshes and Blender's."""

import bpy
import numpy
import tavrix

COLOURS = {"color", "colour", "cd", "rgb"}


def fill(target: bpy.types.Mesh, mesh: tavrix.Mesh) -> None:
    """Replaces what Blender's mesh holds: vertices, faces, and the attributes of vertices.

    Velocities become `velocity`, which Cycles blurs with, colours become colour attributes, others floats and vectors.
    """
    target.clear_geometry()
    faces = mesh.faces.astype(numpy.int32)
    target.vertices.add(len(mesh.vertices))
    target.vertices.foreach_set("co", mesh.vertices.astype(numpy.float32).ravel())
    target.loops.add(faces.size)
    target.loops.foreach_set("vertex_index", faces.ravel())
    target.polygons.add(len(faces))
    target.polygons.foreach_set("loop_start", numpy.arange(0, faces.size, 3, dtype=numpy.int32))
    if bpy.app.version < (4, 0, 0):
        target.polygons.foreach_set("loop_total", numpy.full(len(faces), 3, dtype=numpy.int32))
    target.polygons.foreach_set("use_smooth", numpy.ones(len(faces), dtype=bool))
    for name, values in mesh.attributes.items():
        add_attribute(target, name, values)
    target.update(calc_edges=True)


def add_attribute(target: bpy.types.Mesh, name: str, values: numpy.ndarray) -> None:
    if name.lower() == "velocity":
        new_attribute(target, "velocity", "FLOAT_VECTOR").data.foreach_set("vector", values.ravel())
    elif values.ndim == 1:
        new_attribute(target, name, "FLOAT").data.foreach_set("value", values)
    elif name.lower() in COLOURS:
        colours = numpy.column_stack([values, numpy.ones(len(values), numpy.float32)])
        new_attribute(target, name, "FLOAT_COLOR").data.foreach_set("color", colours.ravel())
    else:
        new_attribute(target, name, "FLOAT_VECTOR").data.foreach_set("vector", values.ravel())


def new_attribute(target: bpy.types.Mesh, name: str, kind: str):
    """An attribute of vertices; under another name where Blender has its own of that name, such as id."""
    return target.attributes.new(name, kind, "POINT") or target.attributes.new(f"particle_{name}", kind, "POINT")


def taken(source: bpy.types.Object) -> tavrix.Mesh:
    """The object's mesh, with its modifiers, in its own coordinates, of triangles."""
    evaluated = source.evaluated_get(bpy.context.evaluated_depsgraph_get())
    mesh = evaluated.to_mesh()
    try:
        mesh.calc_loop_triangles()
        vertices = numpy.empty(3 * len(mesh.vertices), numpy.float32)
        mesh.vertices.foreach_get("co", vertices)
        faces = numpy.empty(3 * len(mesh.loop_triangles), numpy.int32)
        mesh.loop_triangles.foreach_get("vertices", faces)
        return tavrix.Mesh(vertices.reshape(-1, 3), faces.reshape(-1, 3), name=source.name)
    finally:
        evaluated.to_mesh_clear()
