from typing import Any, Mapping, Optional

import numpy
from numpy.typing import ArrayLike, NDArray

from . import Mesh

class RankMesh:
    @property
    def mesh(self) -> Mesh: ...
    @property
    def own_vertices(self) -> NDArray[numpy.uint32]: ...
    @property
    def own_faces(self) -> NDArray[numpy.uint32]: ...
    @property
    def vertex_numbers(self) -> NDArray[numpy.uint32]: ...
    @property
    def face_numbers(self) -> NDArray[numpy.uint32]: ...
    @property
    def vertex_count(self) -> int: ...
    @property
    def face_count(self) -> int: ...
    def gather(self) -> Optional[Mesh]: ...

def reconstruct(
    comm: Any,
    positions: ArrayLike,
    radius: Optional[float] = None,
    *,
    attributes: Mapping[str, ArrayLike] = {},
    threads: Optional[int] = None,
    memory: Optional[int] = None,
    progress: Any = None,
    return_report: bool = False,
    **settings: Any,
) -> Any: ...

__all__ = ["RankMesh", "reconstruct"]
