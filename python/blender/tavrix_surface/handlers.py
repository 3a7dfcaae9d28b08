"""Keeps surfaces up with the scene's frame."""

import bpy
from bpy.app.handlers import persistent

from . import blender_mesh, frames, surfaces

is_rendering = False


def show(thing: bpy.types.Object, scene: bpy.types.Scene) -> None:
    """Gives the object the surface of the scene's frame; what goes wrong is told in its panel."""
    settings = thing.tavrix
    settings.message = ""
    path = frames.file_at(settings.pattern(), scene.frame_current + settings.offset)
    if path is None:
        thing.data.clear_geometry()
        settings.message = "There is no file for this frame"
        return
    try:
        mesh = surfaces.surface(path, settings.settings(is_rendering))
        blender_mesh.fill(thing.data, mesh)
    except (OSError, ValueError, MemoryError) as error:
        thing.data.clear_geometry()
        settings.message = str(error)


def show_all(scene):
    for thing in scene.objects:
        if thing.type == "MESH" and thing.tavrix.is_surface:
            show(thing, scene)


@persistent
def on_frame(scene, depsgraph=None):
    show_all(scene)


@persistent
def on_load(*_):
    for scene in bpy.data.scenes:
        show_all(scene)


@persistent
def on_render(scene, *_):
    global is_rendering
    is_rendering = True
    show_all(scene)


@persistent
def after_render(scene, *_):
    global is_rendering
    is_rendering = False
    show_all(scene)


LISTS = {
    "frame_change_pre": on_frame,
    "load_post": on_load,
    "render_init": on_render,
    "render_complete": after_render,
    "render_cancel": after_render,
}


def register():
    for name, handler in LISTS.items():
        getattr(bpy.app.handlers, name).append(handler)


def unregister():
    for name, handler in LISTS.items():
        getattr(bpy.app.handlers, name).remove(handler)
