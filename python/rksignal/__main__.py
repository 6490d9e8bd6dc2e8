"""python3 -m rksignal plot: decodes recordings and plots signals into a PNG.

    python3 -m rksignal plot --defs vehicle.dbc drive.log --signals 'Doors.*' -o doors.png
"""

import argparse
import sys

from . import Error, decode, plot


def main(argv=None):
    parser = argparse.ArgumentParser(prog="python3 -m rksignal",
                                     description="Plots of decoded vehicle recordings")
    commands = parser.add_subparsers(dest="command", required=True)
    drawing = commands.add_parser("plot", help="Decode recordings and plot signals over time into a PNG")
    drawing.add_argument("recordings", nargs="+", metavar="RECORDING",
                         help="captures, .nmea, .trace or candump logs, merged in time order")
    drawing.add_argument("--defs", action="append", required=True, metavar="FILE",
                         help="definition file: FILE.dbc[@CHANNEL] or FILE.json (repeatable)")
    drawing.add_argument("--signals", action="append", required=True, metavar="PATTERN",
                         help="glob over instance names of the signals to draw, e.g. 'Doors.*' (repeatable)")
    drawing.add_argument("--trigger", action="append", default=[], metavar="EXPR",
                         help="trigger expression; its firing times are drawn as vertical lines (repeatable)")
    drawing.add_argument("--edge", action="store_true", help="triggers fire on a rising edge instead of while true")
    drawing.add_argument("--channel", action="append", default=[], metavar="NAME=N",
                         help="channel of a candump interface or capture file (repeatable)")
    drawing.add_argument("-o", "--output", required=True, metavar="PNG", help="the PNG file to write")
    drawing.add_argument("--width", type=int, default=1200, help="width in pixels (default 1200)")
    arguments = parser.parse_args(argv)
    try:
        frame = decode(arguments.recordings, arguments.defs, signals=arguments.signals, triggers=arguments.trigger,
                       edge=arguments.edge, channels=arguments.channel)
        figure = plot(frame, arguments.signals, arguments.output, width=arguments.width)
    except Error as error:
        print("rksignal: %s" % error, file=sys.stderr)
        return 2
    width, height = figure.canvas.get_width_height()
    print("rksignal: %s: %d signals, %d rows, %dx%d pixels" % (
        arguments.output, sum(len(axis.get_legend_handles_labels()[1]) for axis in figure.axes), len(frame),
        width, height), file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
