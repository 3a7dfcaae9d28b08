"""What an object that shows a surface knows: the files, and the settings of tavrix.reconstruct."""

import bpy
from bpy.props import (
    BoolProperty,
    EnumProperty,
    FloatProperty,
    FloatVectorProperty,
    IntProperty,
    PointerProperty,
    StringProperty,
)

from . import surfaces


def changed(settings, context):
    """Makes the surface anew once the user has changed a setting."""
    from . import handlers

    if settings.id_data.tavrix.is_surface:
        handlers.show(settings.id_data, context.scene)


def own(kind, **details):
    return kind(update=changed, **details)


class SurfaceSettings(bpy.types.PropertyGroup):
    """A number of 0 stands for a default that fits the particles."""

    is_surface: BoolProperty(options={"HIDDEN"})
    message: StringProperty(options={"HIDDEN"})

    files: own(StringProperty, name="Files", subtype="FILE_PATH",
               description="Particle files, with {} for the frame's number: //water_{}.bin")
    offset: own(IntProperty, name="Frame Offset", description="Added to the scene's frame")
    y_is_up: own(BoolProperty, name="Y is Up", default=True, description="The particles' y axis points up")
    scale: own(FloatProperty, name="Scale", default=1, min=1e-9, description="Makes the surface so many times as large")

    radius: own(FloatProperty, name="Radius", min=0, precision=4, description="Of a particle; 0: half their spacing")
    spacing: own(FloatProperty, name="Spacing", min=0, precision=4, description="Of the lattice; 0: half the radius")
    preview: own(BoolProperty, name="Coarser Preview", default=True,
                 description="Take a coarser lattice in the viewport than in renders")
    preview_factor: own(FloatProperty, name="Factor", default=2, min=1, max=16)
    field: own(EnumProperty, name="Field", items=[
        ("metaball", "Metaball", "A smooth sum"),
        ("anisotropic", "Anisotropic", "Ellipsoids, flat where the liquid is flat; takes a few times longer"),
        ("distance", "Distance", "Balls of the radius, with the gaps between them"),
    ])
    quality: own(EnumProperty, name="Quality", items=[
        ("normal", "Normal", "The particles' grain is taken off"),
        ("smooth", "Smooth", "As smooth as a liquid; takes two to three times as long"),
    ])
    influence: own(FloatProperty, name="Influence", min=0, max=100, description="How far particles reach; 0: one that fits")
    level: own(FloatProperty, name="Level", default=1, min=0.01, max=10, description="More is tighter")
    set_smooth: own(BoolProperty, name="Set Smoothing")
    smooth: own(IntProperty, name="Passes", default=10, min=0, description="Passes of smoothing, which keep the volume")
    min_neighbours: own(IntProperty, name="Least Neighbours", min=0, description="Leave out particles with fewer")
    fill_cavities: own(BoolProperty, name="Fill Cavities", description="Remove sealed inner surfaces")
    decimate: own(FloatProperty, name="Decimate", default=1, min=0.001, max=1, description="Leave this part of the faces")

    attributes: own(StringProperty, name="Attributes", default="all",
                    description="Of the particles, to carry besides velocities: names with commas between, or all")
    crop: own(BoolProperty, name="Crop", description="Leave out particles outside of a box")
    crop_low: own(FloatVectorProperty, name="Low", default=(-1, -1, -1), description="In the particles' coordinates")
    crop_high: own(FloatVectorProperty, name="High", default=(1, 1, 1))
    cache: own(StringProperty, name="Cache", subtype="DIR_PATH", description="A folder that keeps surfaces; empty: none")

    # of the first frame, estimated once for the whole sequence
    estimated_radius: FloatProperty(options={"HIDDEN"})
    estimated_for: StringProperty(options={"HIDDEN"})

    def pattern(self) -> str:
        return bpy.path.abspath(self.files)

    def shared_radius(self) -> float:
        """The radius that was given, or that of the first frame."""
        if self.radius > 0:
            return self.radius
        if self.estimated_for != self.pattern():
            self.estimated_radius = surfaces.first_radius(self.pattern()) or 0
            self.estimated_for = self.pattern()
        return self.estimated_radius

    def settings(self, final: bool) -> surfaces.Settings:
        """As the kernel takes them, for a render or the viewport."""
        radius = self.shared_radius()
        spacing = self.spacing or radius / 2
        coarser = 1 if final or not self.preview else self.preview_factor
        options = {
            "radius": radius or None,
            "spacing": spacing * coarser or None,
            "field": self.field,
            "quality": self.quality,
            "influence": self.influence or None,
            "level": self.level,
            "smooth": self.smooth if self.set_smooth else None,
            "min_neighbours": self.min_neighbours,
            "fill_cavities": self.fill_cavities,
            "decimate": self.decimate if self.decimate < 1 else None,
        }
        crop = (tuple(self.crop_low), tuple(self.crop_high)) if self.crop else None
        cache = bpy.path.abspath(self.cache) if self.cache else ""
        return surfaces.Settings(options, self.attributes, crop, self.scale, self.y_is_up, cache)


def register():
    bpy.utils.register_class(SurfaceSettings)
    bpy.types.Object.tavrix = PointerProperty(type=SurfaceSettings)


def unregister():
    del bpy.types.Object.tavrix
    bpy.utils.unregister_class(SurfaceSettings)
