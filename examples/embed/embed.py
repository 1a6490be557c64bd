"""The same in Python: reads a recorded run, writes its report workbook, and prints which inputs move each output most.

    python3 embed.py solar-plant.run.json reports.xlsx
"""

import sys

import ordvane


def shown(value):
    return f"{'-':>16}" if value is None else f"{value:16.6g}"


def main():
    if len(sys.argv) != 3:
        sys.exit(f"usage: {sys.argv[0]} RUN.run.json REPORTS.xlsx")
    try:
        run = ordvane.Run.read(sys.argv[1])
        written = run.report(sys.argv[2], max_inputs=8, sensitivity=False, watermark="Draft", overwrite=True)
        print(f"{written.sheets} sheets and {written.charts} charts are in {sys.argv[2]}.")
        for output in range(len(run.outputs)):
            ranking = run.rank(output)
            print(f"\n{ranking.output}")
            for effect in ranking.effects[:3]:
                failed = f"  without {effect.failed} of {effect.steps} results" if effect.failed else ""
                print(f"{effect.rank:3}. {effect.input:36}{shown(effect.low)}{shown(effect.high)}{failed}")
    except ordvane.Error as error:
        sys.exit(str(error))


main()
