"""Which inputs of a what-if run move which outputs, and Excel workbooks that show it.

    import ordvane

    run = ordvane.Run.from_arrays(
        inputs=[ordvane.Input("Price", [8, 10, 12], base=10), ordvane.Input("Volume", [2, 4, 8], base=4)],
        outputs=[ordvane.Output("Profit", base=40)],
        results=[32, 40, 48, 20, 40, 80],
    )
    for effect in run.rank("Profit"):
        print(effect.rank, effect.input, effect.swing)
    run.report("profit.xlsx")

Lists, NumPy arrays and pandas frames are welcome; neither of the two has to be there. A Run never changes: any number
of threads may use it at once.
"""

from ._library import Error, languages, version
from ._model import Group, Input, Output
from ._run import Effect, GroupEffect, GroupMember, Ranking, ReportOptions, Run, Written
from ._workbook import Model

__version__ = version()
__all__ = [
    "Effect",
    "Error",
    "Group",
    "GroupEffect",
    "GroupMember",
    "Input",
    "Model",
    "Output",
    "Ranking",
    "ReportOptions",
    "Run",
    "Written",
    "languages",
    "version",
]
