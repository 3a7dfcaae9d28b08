"""Makes the surface of one frame, or takes it from the cache. Knows nothing of Blender."""

from __future__ import annotations

import dataclasses
import hashlib
import json
import pathlib

import numpy
import tavrix

from . import frames


@dataclasses.dataclass(frozen=True)
class Settings:
    """How a surface is made: those of tavrix.reconstruct, and what the add-on does around them."""

    reconstruct: dict
    attributes: str = "all"  # names with commas between them, or "all"
    crop: tuple | None = None  # two corners, in the particles' coordinates
    scale: float = 1.0
    y_is_up: bool = False
    cache: str = ""  # a folder; empty: none


def wanted(particles: tavrix.Particles, names: str) -> dict:
    """The attributes to carry, by name."""
    if names.strip() == "all":
        return particles.attributes
    chosen = [name.strip() for name in names.split(",") if name.strip()]
    return {name: particles.attributes[name] for name in chosen if name in particles.attributes}


def cropped(particles: tavrix.Particles, crop: tuple) -> tavrix.Particles:
    """The particles within two corners."""
    low, high = numpy.asarray(crop)
    inside = ((particles.positions >= low) & (particles.positions <= high)).all(axis=1)
    velocities = None if particles.velocities is None else particles.velocities[inside]
    attributes = {name: values[inside] for name, values in particles.attributes.items()}
    return tavrix.Particles(particles.positions[inside], velocities, attributes)


def turned(vectors: numpy.ndarray, settings: Settings) -> numpy.ndarray:
    """Vectors as Blender has them, with z up."""
    if not settings.y_is_up:
        return vectors * settings.scale
    return numpy.column_stack([vectors[:, 0], -vectors[:, 2], vectors[:, 1]]) * settings.scale


def first_radius(pattern: str) -> float | None:
    """The radius that fits the sequence's first frame, so that all frames share it; None without one."""
    files = list(frames.files_of(pattern).values()) or [pathlib.Path(pattern)]
    spacing = tavrix.Particles.read(files[0]).spacing()
    return spacing / 2 if spacing > 0 else None


def made(path: pathlib.Path, settings: Settings) -> tavrix.Mesh:
    """The surface of a file's particles."""
    particles = tavrix.Particles.read(path)
    particles.attributes = wanted(particles, settings.attributes)
    if settings.crop:
        particles = cropped(particles, settings.crop)
    if not len(particles):
        return tavrix.Mesh(numpy.zeros((0, 3)), numpy.zeros((0, 3), int))
    mesh = particles.reconstruct(normals=False, **settings.reconstruct)
    mesh.vertices[:] = turned(mesh.vertices, settings)
    if "Velocity" in mesh.attributes:
        mesh.attributes["Velocity"] = turned(mesh.attributes["Velocity"], settings)
    return mesh


def key_of(path: pathlib.Path, settings: Settings) -> str:
    """What a cached surface depends on, in few letters."""
    stat = path.stat()
    about = [str(path), stat.st_size, stat.st_mtime_ns, tavrix.__version__, dataclasses.asdict(settings)]
    return hashlib.sha256(json.dumps(about, sort_keys=True).encode()).hexdigest()[:16]


def surface(path: pathlib.Path, settings: Settings) -> tavrix.Mesh:
    """The surface of a file's particles, from the cache where it is there and fits."""
    if not settings.cache:
        return made(path, settings)
    kept = pathlib.Path(settings.cache, f"{path.stem}.{key_of(path, settings)}.ply")
    try:
        return tavrix.Mesh.read(kept)
    except (OSError, ValueError):
        pass
    mesh = made(path, settings)
    if len(mesh.faces):
        kept.parent.mkdir(parents=True, exist_ok=True)
        mesh.write(kept)
    return mesh
