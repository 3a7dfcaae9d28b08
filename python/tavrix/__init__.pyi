from collections.abc import Callable, Iterator, Mapping, Sequence
from os import PathLike
from typing import Any, Literal, Optional, Union, overload

import numpy
import numpy.typing
from numpy.typing import ArrayLike, NDArray

__version__: str

_Path = Union[str, bytes, PathLike[str], PathLike[bytes]]
_Progress = Union[None, bool, Callable[[str, float], Any]]
_Floats = NDArray[numpy.float32]
_Doubles = NDArray[numpy.float64]
_Indices = NDArray[numpy.uint32]
_Kernel = Literal["metaball", "anisotropic", "distance"]
_Side = Literal["above", "below"]

class Topology:
    @property
    def vertices(self) -> int: ...
    @property
    def edges(self) -> int: ...
    @property
    def faces(self) -> int: ...
    @property
    def boundary_edges(self) -> int: ...
    @property
    def non_manifold_edges(self) -> int: ...
    @property
    def inconsistent_edges(self) -> int: ...
    @property
    def non_manifold_vertices(self) -> int: ...
    @property
    def self_contacts(self) -> int: ...
    @property
    def collapsed_faces(self) -> int: ...
    @property
    def flat_faces(self) -> int: ...
    @property
    def non_finite_vertices(self) -> int: ...
    @property
    def is_closed(self) -> bool: ...
    @property
    def is_manifold(self) -> bool: ...
    @property
    def is_consistently_oriented(self) -> bool: ...
    @property
    def euler_characteristic(self) -> int: ...

class Attributes:
    def __getitem__(self, name: str, /) -> _Floats: ...
    def __setitem__(self, name: str, values: ArrayLike, /) -> None: ...
    def __delitem__(self, name: str, /) -> None: ...
    def __len__(self) -> int: ...
    def __contains__(self, name: object, /) -> bool: ...
    def __iter__(self) -> Iterator[str]: ...
    def keys(self) -> list[str]: ...
    def values(self) -> Any: ...
    def items(self) -> Any: ...

class Mesh:
    def __init__(
        self,
        vertices: ArrayLike,
        faces: ArrayLike,
        normals: Optional[ArrayLike] = None,
        attributes: Mapping[str, ArrayLike] = {},
        *,
        name: str = "Nameless",
        normal_faces: Optional[ArrayLike] = None,
    ) -> None: ...
    @staticmethod
    def sphere(faces: int = 500, radius: float = 1.0, *, center: ArrayLike = (0, 0, 0)) -> Mesh: ...
    @staticmethod
    def box(low: ArrayLike, high: ArrayLike) -> Mesh: ...
    @staticmethod
    def read(path: _Path, *, strict: bool = False) -> Mesh: ...
    @staticmethod
    def read_all(path: _Path, *, strict: bool = False) -> list[Mesh]: ...
    def write(self, path: _Path, *, ascii: bool = False, digits: Union[None, int, Literal["exact"]] = None) -> None: ...
    name: str
    @property
    def vertices(self) -> _Doubles: ...
    @property
    def faces(self) -> _Indices: ...
    @property
    def normals(self) -> Optional[_Floats]: ...
    @normals.setter
    def normals(self, normals: Optional[ArrayLike]) -> None: ...
    @property
    def normal_faces(self) -> Optional[_Indices]: ...
    @property
    def attributes(self) -> Attributes: ...
    @property
    def bounds(self) -> Optional[_Doubles]: ...
    @property
    def area(self) -> float: ...
    @property
    def volume(self) -> float: ...
    @property
    def topology(self) -> Topology: ...
    @property
    def is_closed(self) -> bool: ...
    @property
    def part_count(self) -> int: ...
    @property
    def cavity_count(self) -> int: ...
    def face_normals(self) -> _Floats: ...
    def copy(self) -> Mesh: ...
    def __copy__(self) -> Mesh: ...
    def __deepcopy__(self, memo: dict[int, Any], /) -> Mesh: ...
    def with_normals(
        self, *, crease: Optional[float] = None, threads: Optional[int] = None, progress: _Progress = None
    ) -> Mesh: ...
    def smooth(
        self,
        passes: int = 10,
        *,
        passes_at_bends: Optional[int] = None,
        farthest: Optional[float] = None,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Mesh: ...
    def weld(
        self,
        tolerance: Union[float, Sequence[float]] = 0.0,
        *,
        drop_thin: bool = False,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Mesh: ...
    def voxelize(
        self, spacing: float, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> tuple[NDArray[numpy.bool_], tuple[float, float, float]]: ...
    @overload
    def slice(
        self,
        heights: ArrayLike,
        axis: Union[int, ArrayLike] = 2,
        *,
        simplify: float = 0.0,
        gap: float = 0.0,
        open: Literal[False] = False,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> list[list[_Doubles]]: ...
    @overload
    def slice(
        self,
        heights: ArrayLike,
        axis: Union[int, ArrayLike] = 2,
        *,
        simplify: float = 0.0,
        gap: float = 0.0,
        open: Literal[True],
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> tuple[list[list[_Doubles]], list[list[_Doubles]]]: ...
    def decimate(
        self,
        *,
        faces: Optional[int] = None,
        ratio: Optional[float] = None,
        error: Optional[float] = None,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Mesh: ...
    def subdivide(
        self,
        levels: int = 1,
        *,
        sharp: Optional[float] = None,
        limit: bool = True,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Mesh: ...
    def displace(
        self, heights: ArrayLike, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> Mesh: ...
    def remesh(
        self,
        edge: float,
        *,
        sharp: float = 40,
        rounds: int = 8,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Mesh: ...
    def split_edges(
        self, longest: float, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> Mesh: ...
    def clip(self, low: ArrayLike, high: ArrayLike, *, closed: bool = False, progress: _Progress = None) -> Mesh: ...
    def repair(self, *, progress: _Progress = None) -> Mesh: ...
    def flip(self) -> Mesh: ...
    def fill_cavities(self, *, progress: _Progress = None) -> Mesh: ...
    def parts(self, least_faces: int = 1, *, progress: _Progress = None) -> list[Mesh]: ...
    def fill_holes(self, most_edges: int = 300, *, progress: _Progress = None) -> Mesh: ...
    def separate_sheets(self, *, progress: _Progress = None) -> Mesh: ...
    def offset(
        self,
        distance: float = 0.0,
        spacing: Optional[float] = None,
        *,
        shell: Optional[float] = None,
        sheet: bool = False,
        fill_cavities: bool = False,
        normals: bool = True,
        threads: Optional[int] = None,
        memory: Optional[int] = None,
        progress: _Progress = None,
    ) -> Mesh: ...

class ReconstructionReport:
    @property
    def radius(self) -> float: ...
    @property
    def radius_is_estimated(self) -> bool: ...
    @property
    def particle_spacing(self) -> float: ...
    @property
    def spacing(self) -> float: ...
    @property
    def influence(self) -> float: ...
    @property
    def level(self) -> float: ...
    @property
    def smooth(self) -> int: ...
    @property
    def particles(self) -> int: ...
    @property
    def left_out(self) -> _Indices: ...
    @property
    def bounds(self) -> _Doubles: ...
    @property
    def blocks(self) -> int: ...
    @property
    def bytes(self) -> int: ...
    @property
    def cavities_filled(self) -> int: ...

@overload
def reconstruct(
    positions: ArrayLike,
    radius: Optional[float] = None,
    *,
    field: _Kernel = "metaball",
    spacing: Optional[float] = None,
    particle_spacing: Optional[float] = None,
    influence: Optional[float] = None,
    level: float = 1.0,
    quality: Literal["normal", "smooth"] = "normal",
    match_volume: Optional[bool] = None,
    smooth: Optional[int] = None,
    min_neighbours: int = 0,
    clean: bool = True,
    fill_cavities: bool = False,
    simplify: Optional[float] = None,
    decimate: Optional[float] = None,
    normals: bool = True,
    attributes: Mapping[str, ArrayLike] = {},
    threads: Optional[int] = None,
    memory: Optional[int] = None,
    progress: _Progress = None,
    return_report: Literal[False] = False,
) -> Mesh: ...
@overload
def reconstruct(
    positions: ArrayLike,
    radius: Optional[float] = None,
    *,
    field: _Kernel = "metaball",
    spacing: Optional[float] = None,
    particle_spacing: Optional[float] = None,
    influence: Optional[float] = None,
    level: float = 1.0,
    quality: Literal["normal", "smooth"] = "normal",
    match_volume: Optional[bool] = None,
    smooth: Optional[int] = None,
    min_neighbours: int = 0,
    clean: bool = True,
    fill_cavities: bool = False,
    simplify: Optional[float] = None,
    decimate: Optional[float] = None,
    normals: bool = True,
    attributes: Mapping[str, ArrayLike] = {},
    threads: Optional[int] = None,
    memory: Optional[int] = None,
    progress: _Progress = None,
    return_report: Literal[True],
) -> tuple[Mesh, ReconstructionReport]: ...
def estimate_spacing(positions: ArrayLike) -> float: ...
def marching_cubes(
    samples: ArrayLike,
    level: float,
    spacing: ArrayLike = 1.0,
    origin: ArrayLike = (0, 0, 0),
    *,
    inside: _Side = "above",
    clean: bool = True,
    normals: bool = False,
    threads: Optional[int] = None,
    progress: _Progress = None,
) -> Mesh: ...

class Particles:
    positions: NDArray[Any]
    velocities: Optional[NDArray[Any]]
    attributes: dict[str, NDArray[Any]]
    def __init__(
        self,
        positions: ArrayLike,
        velocities: Optional[ArrayLike] = None,
        attributes: Optional[Mapping[str, ArrayLike]] = None,
    ) -> None: ...
    @classmethod
    def read(cls, path: _Path) -> Particles: ...
    def write(self, path: _Path) -> None: ...
    def spacing(self) -> float: ...
    def neighbour_counts(self, radius: float, *, threads: Optional[int] = None) -> _Indices: ...
    def strays(self, radius: float, least: int = 1, *, threads: Optional[int] = None) -> _Indices: ...
    def interpolate(
        self,
        values: ArrayLike,
        places: ArrayLike,
        reach: float,
        *,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> _Floats: ...
    def reconstruct(self, radius: Optional[float] = None, **settings: Any) -> Mesh: ...
    def __len__(self) -> int: ...

class Field:
    def __init__(self, samples: ArrayLike, spacing: ArrayLike = 1.0, origin: ArrayLike = (0, 0, 0)) -> None: ...
    @staticmethod
    def from_function(
        function: Callable[[_Doubles, _Doubles, _Doubles], ArrayLike],
        low: ArrayLike,
        high: ArrayLike,
        spacing: ArrayLike,
    ) -> Field: ...
    @staticmethod
    def from_particles(
        positions: ArrayLike,
        radius: ArrayLike,
        spacing: float,
        *,
        field: _Kernel = "metaball",
        influence: float = 60.0,
        low: Optional[ArrayLike] = None,
        high: Optional[ArrayLike] = None,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Field: ...
    @property
    def samples(self) -> NDArray[Any]: ...
    def __array__(self, dtype: Any = None) -> NDArray[Any]: ...
    @property
    def shape(self) -> tuple[int, int, int]: ...
    @property
    def dtype(self) -> numpy.dtype[Any]: ...
    @property
    def spacing(self) -> tuple[float, float, float]: ...
    @property
    def origin(self) -> tuple[float, float, float]: ...
    @property
    def bounds(self) -> _Doubles: ...
    def copy(self) -> Field: ...
    def __copy__(self) -> Field: ...
    def __deepcopy__(self, memo: dict[int, Any], /) -> Field: ...
    def evaluate(
        self, points: ArrayLike, *, outside: float = ..., threads: Optional[int] = None
    ) -> NDArray[Any]: ...
    def gradient(self, points: ArrayLike, *, threads: Optional[int] = None) -> NDArray[Any]: ...
    def gradients(self, *, threads: Optional[int] = None) -> NDArray[Any]: ...
    def diffuse(
        self,
        amount: float,
        *,
        dissipation: float = 0.0,
        mode: Literal["explicit", "implicit"] = "implicit",
        low: float = ...,
        high: float = ...,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Field: ...
    def extract(
        self,
        level: float = 0.0,
        *,
        inside: _Side = "above",
        clean: bool = True,
        normals: bool = False,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Mesh: ...

class LevelSet:
    def __init__(
        self,
        samples: ArrayLike,
        spacing: float = 1.0,
        origin: ArrayLike = (0, 0, 0),
        band: Optional[float] = None,
    ) -> None: ...
    @staticmethod
    def from_mesh(
        mesh: Mesh,
        spacing: float,
        *,
        margin: float = 0.0,
        band: float = 0.0,
        signed: bool = True,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> LevelSet: ...
    @staticmethod
    def from_particles(
        positions: ArrayLike,
        radius: float,
        spacing: float,
        *,
        margin: float = 0.0,
        band: float = 0.0,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> LevelSet: ...
    @staticmethod
    def read(path: _Path) -> LevelSet: ...
    def write(self, path: _Path, *, sparse: bool = False) -> None: ...
    @property
    def samples(self) -> _Floats: ...
    def __array__(self, dtype: Any = None) -> NDArray[Any]: ...
    @property
    def shape(self) -> tuple[int, int, int]: ...
    @property
    def spacing(self) -> float: ...
    @property
    def origin(self) -> tuple[float, float, float]: ...
    @property
    def band(self) -> float: ...
    def copy(self) -> LevelSet: ...
    def __copy__(self) -> LevelSet: ...
    def __deepcopy__(self, memo: dict[int, Any], /) -> LevelSet: ...
    def offset(
        self, distance: float, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> LevelSet: ...
    def shell(
        self, thickness: float, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> LevelSet: ...
    def redistance(
        self, *, band: Optional[float] = None, threads: Optional[int] = None, progress: _Progress = None
    ) -> LevelSet: ...
    def union(
        self, other: LevelSet, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> LevelSet: ...
    def intersect(
        self, other: LevelSet, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> LevelSet: ...
    def subtract(
        self, other: LevelSet, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> LevelSet: ...
    def advect(
        self,
        velocities: ArrayLike,
        duration: float,
        *,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> LevelSet: ...
    def invert(self) -> LevelSet: ...
    def extract(self, *, normals: bool = False, threads: Optional[int] = None, progress: _Progress = None) -> Mesh: ...
    def evaluate(self, points: ArrayLike, *, outside: float = ..., threads: Optional[int] = None) -> _Floats: ...
    def gradient(self, points: ArrayLike, *, threads: Optional[int] = None) -> _Floats: ...

class Hits:
    @property
    def face(self) -> NDArray[numpy.int32]: ...
    @property
    def distance(self) -> _Doubles: ...
    @property
    def position(self) -> _Doubles: ...
    @property
    def barycentric(self) -> _Doubles: ...
    def __len__(self) -> int: ...

class Collider:
    def __init__(self, mesh: Mesh, *, threads: Optional[int] = None, progress: _Progress = None) -> None: ...
    def cast_rays(
        self,
        origins: ArrayLike,
        directions: ArrayLike,
        *,
        limit: float = ...,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Hits: ...
    def nearest(
        self,
        points: ArrayLike,
        *,
        limit: float = ...,
        threads: Optional[int] = None,
        progress: _Progress = None,
    ) -> Hits: ...
    def contains(
        self, points: ArrayLike, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> NDArray[numpy.bool_]: ...
    def winding_numbers(
        self, points: ArrayLike, *, threads: Optional[int] = None, progress: _Progress = None
    ) -> _Doubles: ...
    def signed_distance(
        self, points: ArrayLike, *, tolerance: Optional[float] = None, threads: Optional[int] = None,
        progress: _Progress = None
    ) -> _Doubles: ...
    def thickness(self, *, threads: Optional[int] = None, progress: _Progress = None) -> _Doubles: ...
    def overlapping(self, low: ArrayLike, high: ArrayLike) -> _Indices: ...
