"""Surfaces of particle sequences in Blender: an object that shows the surface at the current frame, and operators that
grow, hollow and remesh solids."""

bl_info = {
    "name": "Tavrix surfaces",
    "description": "Surfaces of particle sequences, and offsets, shells and remeshes of solids",
    "author": "tavrix authors",
    "version": (0, 2, 0),
    "blender": (3, 3, 0),
    "location": "Add > Mesh > Particle Surface; Object properties; Object > Tavrix",
    "category": "Mesh",
}

from . import kernel

kernel.make_importable()

from . import handlers, operators, panels, properties  # noqa: E402

MODULES = (properties, operators, panels, handlers)


def register():
    for module in MODULES:
        module.register()


def unregister():
    for module in reversed(MODULES):
        module.unregister()
