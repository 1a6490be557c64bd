"""Checks of the Python package. `Plain` needs Python alone, `Frames` also NumPy and pandas."""

import io
import os
import sys
import tempfile
import unittest
import zipfile

import ordvane

EXAMPLE = os.path.join(os.path.dirname(__file__), "../../examples/solar-plant/solar-plant.run.json")
RESULTS = [[32, 1], [40, 2], [48, 3], [20, None], [40, "#DIV/0!"], [80, "too much"]]
GROUP = ordvane.Group(members=["Price", "Volume"], values=[[8, 12], [2, 8]])
GROUP_RESULTS = [[16, 1], [64, 1], [24, 1], [96, 1]]


def small_run(results=RESULTS, price=(8, 10, 12), volume=(2, 4, 8), **others):
    return ordvane.Run.from_arrays(
        inputs=[
            ordvane.Input("Price", price, base=10, number_format="0.00"),
            ordvane.Input("Volume", volume, base=4),
        ],
        outputs=[ordvane.Output("Profit", 40), ordvane.Output("Tax", cell="D9", sheet="Taxes")],
        results=results,
        **others,
    )


class Plain(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.file = os.path.join(folder.name, "reports.xlsx")

    def assert_fails(self, code, text, call, *arguments, **options):
        with self.assertRaises(ordvane.Error) as caught:
            call(*arguments, **options)
        self.assertEqual(caught.exception.code, code)
        self.assertIn(text, str(caught.exception))

    def test_run_and_ranking(self):
        run = small_run(groups=[GROUP], group_results=GROUP_RESULTS)
        self.assertEqual((run.simulations, run.recalculations), (1, 10))
        self.assertEqual((run.inputs, run.outputs), (["Price", "Volume"], ["Profit", "Tax"]))
        self.assertIn("Recalculations", run.describe())
        ranking = run.rank("profit")
        self.assertEqual((ranking.output, ranking.output_index, ranking.base, len(ranking)), ("Profit", 0, 40, 2))
        self.assertEqual(
            ranking[0],
            ordvane.Effect(
                rank=1, input="Volume", input_index=1, low=20, high=80, swing=60, low_change=-0.5, high_change=1,
                input_at_low=2, input_at_high=8, steps=3, failed=0, moves=True, leaves_out_base=False,
            ),
        )
        self.assertEqual([effect.input for effect in ranking], ["Volume", "Price"])
        self.assertEqual(ranking.to_dicts()[1]["swing"], 16)
        (group,) = ranking.groups
        self.assertEqual((group.rank, group.swing, group.own_swings, group.interaction), (1, 80, 76, 4))
        self.assertEqual((group.low, group.high, group.low_change, group.high_change), (16, 96, -0.6, 1.4))
        self.assertEqual((group.interaction_state, group.steps, group.leaves_out_base), ("measured", 4, False))
        self.assertEqual(group.members[1], ordvane.GroupMember("Volume", 1, 2, 8, 60))
        tax = run.rank(1)
        self.assertIsNone(tax.base)
        self.assertIsNone(tax[1].swing)  # empty, an error, a text
        self.assertEqual((tax[1].failed, tax[1].moves, tax.groups[0].interaction_state), (3, False, "no_own_swing"))
        self.assertEqual(ordvane.__version__, ordvane.version())
        self.assertIn("de", ordvane.languages())

    def test_models(self):
        plant = os.path.join(os.path.dirname(EXAMPLE), "solar-plant.xlsx")
        model = ordvane.Model(plant)
        base = model["Results!B5"]
        self.assertEqual((model["Results!A5"], model["Results!Z99"]), ("Net present value", None))
        model["Finance!B5"] = 60
        definition = {
            "inputs": [{"cell": "Finance!B5", "values": [60, 74]}],
            "outputs": [{"cell": "Results!B5"}, {"cell": "Results!B6"}],
        }
        effect = ordvane.Run.sweep(plant, definition).rank(0)[0]
        self.assertEqual((effect.low, effect.high), (model["Results!B5"], base))
        model.reset()
        self.assertEqual(model["Results!B5"], base)
        self.assert_fails("invalid_argument", "Nowhere", model.__setitem__, "Nowhere!A1", 1)
        self.assert_fails("cancelled", "", ordvane.Run.sweep, plant, definition, cancelled=lambda: True)
        with self.assertRaises(ZeroDivisionError):
            ordvane.Run.sweep(plant, definition, cancelled=lambda: 1 / 0)

    def test_fields_reach_the_library(self):
        self.assertIn("Taxes!D9", small_run().describe())
        # The library refuses fields that it does not know.
        shared = dict(
            book="b.xlsx", sheet="S", range="C5:D5", formula="=2+DralAuto(8)", function="DralAuto(8)", date=True,
            number_format="0.00", locked=False, labels={"B5": "Label"}, default_name="Default",
        )
        run = ordvane.Run.from_arrays(
            [
                ordvane.Input("In", [8, 9], 10, cell="C5", automatic=True, low=8, high=9, **shared),
                ordvane.Input(values=[1], saved_samples=False),
            ],
            [ordvane.Output("Out", 1, cell="D5", range_name="Range", range_index=1, **shared)],
            [1, 2, 3],
        )
        (effect,) = run.rank("S!D5")
        self.assertEqual((effect.input, effect.leaves_out_base), ("In", True))

    def test_values_may_come_in_many_shapes(self):
        wanted = small_run().report_bytes()
        profit, tax = zip(*RESULTS)
        for results in (
            tuple(map(tuple, RESULTS)),
            [value for row in RESULTS for value in row],
            {"Tax": tax, "Profit": profit},
            (row for row in RESULTS),
        ):
            self.assertEqual(small_run(results).report_bytes(), wanted)
        self.assertEqual(small_run(price=iter([8, 10, 12]), volume=range(2, 10, 3)).rank(0)[0].input_at_high, 8)

    def test_several_simulations(self):
        run = small_run([RESULTS, [[2 * row[0], 1] for row in RESULTS]], simulations=2, price=[[8, 10, 12], [7, 10, 13]])
        self.assertEqual(run.simulations, 2)
        first, second = run.rank("Profit", 1), run.rank("Profit", simulation=2)
        self.assertEqual((first[1].swing, first[1].input_at_high), (16, 12))
        self.assertEqual((second[1].swing, second[1].input_at_high), (32, 13))
        self.assertEqual(second[0].input_at_high, 8)  # the same in all of them

    def test_reports(self):
        run = ordvane.Run.read(EXAMPLE)
        told = []
        written = run.report(self.file, ordvane.ReportOptions(spider=False), sensitivity=False, progress=told.append)
        self.assertEqual(written.charts, 6)
        self.assertIn("Saving the workbook", told)
        self.assertFalse([text for text in told if "spider" in text or "sensitivity" in text])
        with open(self.file, "rb") as file:
            in_file = file.read()
        stream = io.BytesIO()
        self.assertIsNone(run.report(stream, spider=False, sensitivity=False))
        self.assertEqual(in_file, stream.getvalue())
        self.assertEqual(run.report_into(self.file, outputs=["Net present value"], spider=False, sensitivity=False).charts, 1)
        with zipfile.ZipFile(io.BytesIO(run.report_bytes(outputs=[0], bar_color="#010203"))) as package:
            charts = [package.read(name) for name in package.namelist() if name.startswith("xl/charts/chart")]
        self.assertTrue(any(b'"010203"' in chart for chart in charts))
        with self.assertRaises(TypeError):
            run.report(self.file, percentage=True)

    def test_errors(self):
        run = small_run()
        bad = (
            (lambda: ordvane.Run.read("/no such file"), "bad_run", "no such file"),
            (lambda: small_run({"Profit": [1]}), "bad_run", "run:results: have columns"),
            (lambda: small_run({"Profit": [1] * 6, "Tax": [1]}), "bad_run", "of different lengths"),
            (lambda: small_run(price=[8, "x", 12]), "bad_run", "inputs[0].values[1]: is 'x'"),
            (lambda: small_run(price=[[8, 10, 12]] * 3), "bad_run", "are for 3 simulations; 1 are expected"),
            (
                lambda: ordvane.Run.from_arrays([ordvane.Input("x", [1], base=float("inf"))], [], []),
                "bad_run",
                "Out of range",
            ),
            (lambda: run.rank("Profits"), "invalid_argument", '"Profits" is no output of the run'),
            (lambda: run.report_bytes(outputs=["x"]), "invalid_argument", '"x" is no output'),
            (lambda: run.report("/no such folder/x.xlsx"), "file", "cannot write"),
            (lambda: run.report(EXAMPLE), "file_exists", "is there already"),
            (lambda: run.report_into(EXAMPLE), "bad_workbook", "it is no workbook"),
            (lambda: run.report(self.file, cancelled=lambda: True), "cancelled", ""),
        )
        for call, code, text in bad:
            with self.subTest(text):
                self.assert_fails(code, text, call)
        self.assertFalse(os.path.exists(self.file))
        for wrong in (dict(percentage=1), dict(name=3, valuess=[1])):
            with self.assertRaises(TypeError):
                ordvane.Input(**wrong)
        with self.assertRaises(ValueError):
            run.report_bytes(bar_color="blue")

    def test_what_a_callback_raises_comes_out(self):
        def interrupt(*_):
            raise KeyboardInterrupt

        for options in (dict(progress=interrupt), dict(cancelled=interrupt)):
            with self.assertRaises(KeyboardInterrupt):
                small_run().report(self.file, **options)
            self.assertFalse(os.path.exists(self.file))


class Frames(unittest.TestCase):
    def test_arrays_and_frames_are_the_same_as_lists(self):
        import numpy
        import pandas

        plain = [[row[0], row[0] / 2] for row in RESULTS]
        wanted = small_run(plain).report_bytes()
        table = numpy.array(plain)
        frame = pandas.DataFrame(table, columns=["Profit", "Tax"])
        for results in (table, numpy.asfortranarray(table), table.astype("float32"), frame, frame[["Tax", "Profit"]]):
            self.assertEqual(small_run(results).report_bytes(), wanted)
        inputs = dict(price=numpy.array([8, 10, 12]), volume=pandas.Series([2, 4, 8], index=[7, 8, 9]))
        self.assertEqual(small_run(frame, **inputs).report_bytes(), wanted)

    def test_what_is_no_number(self):
        import numpy
        import pandas

        wanted = small_run().report_bytes()
        frame = pandas.DataFrame(RESULTS, columns=["Profit", "Tax"])
        self.assertEqual(small_run(frame).report_bytes(), wanted)
        self.assertEqual(small_run(numpy.array(RESULTS, dtype=object)).report_bytes(), wanted)
        frame["Tax"] = pandas.array([1, 2, 3, None, None, None], dtype="Int64")
        self.assertEqual(small_run(frame).rank("Tax")[0].swing, 2)
        flags = small_run({"Profit": [1] * 6, "Tax": numpy.array([True] * 6)})
        self.assertIsNone(flags.rank("Tax")[0].low)  # a truth value is no number

    def test_several_simulations(self):
        import numpy

        table = numpy.array([[row[0], 1.0] for row in RESULTS])
        run = small_run(numpy.stack([table, 2 * table]), simulations=2, price=numpy.array([[8, 10, 12], [7, 10, 13]]))
        self.assertEqual((run.rank(0, 2)[1].swing, run.rank(0, 2)[1].input_at_high), (32, 13))

    def test_ranking_as_a_frame(self):
        frame = ordvane.Run.read(EXAMPLE).rank("Net present value").to_pandas()
        self.assertEqual(list(frame["rank"]), list(range(1, len(frame) + 1)))
        self.assertEqual(frame.loc[0, "input"], "Feed-in price")


if __name__ == "__main__":
    unittest.main(argv=sys.argv)
