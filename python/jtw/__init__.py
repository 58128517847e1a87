"""Components and JT files (ISO 14306).

>>> import jtw
>>> with jtw.open(cell) as component:
...     for node in component:
...         print(node.key, node.kind, node.name)
1 component cell
2 link Base
3 block Arm
4 entity Cover
5 entity Finger
6 frame Tip
"""

from jtw._errors import Error
from jtw._jtw import (
    Application,
    Buffers,
    Change,
    Comparison,
    Component,
    Conflict,
    Conversion,
    Difference,
    File,
    Finding,
    GraphNode,
    LostGeometry,
    Merge,
    Mesh,
    Node,
    Part,
    PartFile,
    PartVerdict,
    Patch,
    Picture,
    SaveReport,
    SegmentAction,
    Transaction,
    Verdict,
    __version__,
    convert,
    diff,
    merge,
    new,
    open,
    patch,
    snapshot,
    verify,
)

__all__ = [
    "Application",
    "Buffers",
    "Change",
    "Comparison",
    "Component",
    "Conflict",
    "Conversion",
    "Difference",
    "Error",
    "File",
    "Finding",
    "GraphNode",
    "LostGeometry",
    "Merge",
    "Mesh",
    "Node",
    "Part",
    "PartFile",
    "PartVerdict",
    "Patch",
    "Picture",
    "SaveReport",
    "SegmentAction",
    "Transaction",
    "Verdict",
    "__version__",
    "convert",
    "diff",
    "merge",
    "new",
    "open",
    "patch",
    "snapshot",
    "verify",
]
