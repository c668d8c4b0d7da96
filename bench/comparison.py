#!/usr/bin/env python3
"""Runs the programs of the comparison in turn, round by round, and prints what they have measured: each target with
whether it is met, as a table of the stores, and as a chart.

A result is the median of the rounds' results, and a ratio is that of the rounds' ratios: what else the machine does
then burdens both of its sides alike. Ratios of durable sets are those of how much more than the floor they cost.
"""

import argparse
import collections
import json
import os
import pathlib
import platform
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import chart

OURS = "zelva-core"
FLOOR = "floor"
# By the names of their programs, in the order of the table. Those that were not built are left out.
STORES = {
    "floor": FLOOR,
    "zelva_core": OURS,
    "qsettings": "QSettings",
    "keyfile": "GKeyFile",
    "kconfig": "KConfig",
    "sqlite": "SQLite",
    "lmdb": "LMDB",
    "leveldb": "LevelDB",
}
TEXT_FILES = ("QSettings", "GKeyFile", "KConfig")
DURABLE_FLOOR = "set_durable_floor"


def is_durable_set(measure):
    """Or its floor."""
    return measure.startswith("set_durable")


class Size:
    """How much is measured. Numbers of keys are multiples of 100, which a section of them has."""

    def __init__(self, is_quick):
        self.few, self.middle, self.main, self.many = (100, 200, 300, 400) if is_quick else (100, 1000, 10000, 100000)
        self.seconds = 0.01 if is_quick else 0.4
        self.opens = 2 if is_quick else 7


class Results:
    """Each measure's result in each round, by store and number of keys."""

    def __init__(self):
        self._rounds = []
        self._round = None

    def begin_round(self, number):
        if number == len(self._rounds):
            self._rounds.append(collections.defaultdict(list))
        self._round = self._rounds[number]

    def add(self, store, keys, measure, value):
        self._round[store, keys, measure].append(value)

    def has(self, store, keys, measure):
        return bool(self._rounds[-1].get((store, keys, measure)))

    def rounds(self, store, keys, measure):
        return [statistics.median(round[store, keys, measure]) for round in self._rounds]

    def value(self, store, keys, measure):
        """That of a durable set as it would be beside the usual floor."""
        value = statistics.median(self._comparable(store, keys, measure))
        return value * self._usual_floor() if is_durable_set(measure) else value

    def ratio(self, above, below):
        """Of two results, each given as store, keys and measure."""
        return statistics.median(a / b for a, b in zip(self._comparable(*above), self._comparable(*below)))

    def figure(self, store, keys, measure):
        """A result for a person; that of a durable set by its floor too, since ratios are made of that."""
        time = shown(self.value(store, keys, measure))
        if measure != "set_durable":
            return time
        return f"{time} ({statistics.median(self._comparable(store, keys, measure)):.2f} floors)"

    def _comparable(self, store, keys, measure):
        """Each round's result; that of a durable set by the floor that it was measured in turn with."""
        results = self.rounds(store, keys, measure)
        if not is_durable_set(measure):
            return results
        return [result / floor for result, floor in zip(results, self.rounds(store, keys, DURABLE_FLOOR))]

    def _usual_floor(self):
        """The time of a flush varies with that of day more than with the store."""
        floors = (values for round in self._rounds for (_, _, name), values in round.items() if name == DURABLE_FLOOR)
        return statistics.median(value for values in floors for value in values)

    def difference(self, one, other):
        return statistics.median(a - b for a, b in zip(self.rounds(*one), self.rounds(*other)))


class Runner:
    """Runs the programs, each on a folder of its own for each number of keys."""

    def __init__(self, programs, folder, results):
        self._programs = pathlib.Path(programs)
        self._folder = pathlib.Path(folder)
        self._results = results
        self.stores = [program for program in STORES if (self._programs / f"compare_{program}").exists()]

    def run(self, program, keys, measure, seconds, reported_as=None):
        own = self._folder / f"{program}-{keys}"
        own.mkdir(exist_ok=True)
        command = [self._programs / program, own, str(keys), measure, str(seconds)]
        output = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
        for line in output.splitlines():
            result = json.loads(line)
            self._results.add(result["store"], result["keys"], reported_as or result["measure"], result["value"])


def fill(runner, size):
    for store in runner.stores:
        runner.run(f"compare_{store}", size.main, "fill", 0)
    for keys in (size.few, size.many):
        runner.run("compare_floor", keys, "fill", 0)
        runner.run("compare_zelva_core", keys, "fill", 0)
    for keys in (size.middle, size.main, size.many):
        runner.run("measure_store", keys, "fill", 0)


def in_turn(stores, number):
    """In another order each round."""
    start = number % len(stores)
    return stores[start:] + stores[:start]


def open_stores(runner, size, number):
    """As they were filled: what sets leave behind in a store is in none that others write anew as a whole."""
    for _ in range(size.opens):
        for store in in_turn(runner.stores, number):
            if store != "floor":
                runner.run(f"compare_{store}", size.main, "open", 0)
        runner.run("compare_zelva_core", size.few, "open", 0)


def run_round(runner, size, number):
    """Measure by measure, so that what is compared is measured at nearly the same time."""
    stores = in_turn(runner.stores, number)
    for measure in ("get", "set_durable", "set_relaxed"):
        for store in stores:
            runner.run(f"compare_{store}", size.main, measure, size.seconds)
        if measure != "get":
            for keys in (size.few, size.many):
                runner.run("compare_zelva_core", keys, measure, size.seconds)
    for _ in range(size.opens):
        runner.run("compare_zelva_core", size.main, "open", 0, reported_as="open_after_sets")
    runner.run("measure_store", size.main, "handed_out", size.seconds)
    runner.run("measure_store", size.main, "two_threads", 5 * size.seconds)
    runner.run("measure_store", size.main, "beside_sets", 8 * size.seconds)
    runner.run("measure_store", size.middle, "list", size.seconds)
    runner.run("measure_store", size.many, "list", size.seconds)
    runner.run("measure_store", size.many, "memory", 0)


def run_test_settings(program, folder, results):
    with tempfile.TemporaryDirectory(dir=folder) as settings:
        environment = {**os.environ, "ZELVA_CORE_SETTINGS_DIR": settings}
        begin = time.monotonic()
        subprocess.run([program], check=True, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        results.add(OURS, 0, "test_settings", (time.monotonic() - begin) * 1e9)


def code_size(library):
    """The bytes of the library's text, stripped, and the libraries that it needs."""
    with tempfile.TemporaryDirectory() as folder:
        stripped = pathlib.Path(folder) / "library"
        subprocess.run(["strip", "-o", stripped, library], check=True)
        table = subprocess.run(["size", stripped], check=True, stdout=subprocess.PIPE, text=True).stdout
    dynamic = subprocess.run(["readelf", "-d", library], check=True, stdout=subprocess.PIPE, text=True).stdout
    needed = [line.split("[")[1].rstrip("]") for line in dynamic.splitlines() if "(NEEDED)" in line]
    return int(table.splitlines()[1].split()[0]), needed


# Of the C library and of the C++ library.
STANDARD_LIBRARIES = ("libc.so", "libm.so", "libpthread.so", "ld-linux", "libstdc++.so", "libc++.so", "libgcc_s.so")


def shown(nanoseconds):
    """A time in the unit that suits it."""
    for unit, factor in (("ns", 1), ("µs", 1e3), ("ms", 1e6), ("s", 1e9)):
        if nanoseconds < 1000 * factor or unit == "s":
            number = nanoseconds / factor
            return f"{number:.0f} {unit}" if number >= 100 else f"{number:.3g} {unit}"


def times(ratio):
    return f"{ratio:,.0f}x" if ratio >= 100 else f"{ratio:.1f}x" if ratio >= 10 else f"{ratio:.2f}x"


class Report:
    """Rows of targets, figures, and whether they are met."""

    def __init__(self, results, size, stores):
        self._results = results
        self._size = size
        self._peers = [STORES[store] for store in stores if STORES[store] not in (OURS, FLOOR)]
        self.rows = []

    def _add(self, what, target, figure, is_met):
        self.rows.append((what, target, figure, "yes" if is_met else "NO"))

    def _at_main(self, store, measure):
        return store, self._size.main, measure

    def _value(self, measure, keys=None):
        return self._results.value(OURS, keys or self._size.main, measure)

    def _fastest(self, measures, among):
        """The fastest of these measures of these stores, as store, keys and measure."""
        candidates = [
            self._at_main(store, measure)
            for store in among
            for measure in measures
            if self._results.has(*self._at_main(store, measure))
        ]
        ours = self._at_main(OURS, measures[0])
        return min(candidates, key=lambda candidate: self._results.ratio(candidate, ours), default=None)

    def _add_faster(self, what, measures, target, among, text):
        """The first measure of this store against all of those of others."""
        measure = measures[0]
        fastest = self._fastest(measures, among)
        if fastest is None:
            self.rows.append((what, text, "no other store to compare with", "-"))
            return
        ratio = self._results.ratio(fastest, self._at_main(OURS, measure))
        name = fastest[0] + (", in one transaction" if fastest[2] != measure else "")
        ours = self._results.figure(*self._at_main(OURS, measure))
        figure = f"{times(ratio)}: {ours}, {name} {self._results.figure(*fastest)}"
        self._add(what, text, figure, ratio >= target)

    def _add_floor(self, what, measure, floor, target, text):
        ratio = self._results.ratio(self._at_main(OURS, measure), floor)
        figure = f"{times(ratio)}: {shown(self._value(measure))}, floor {shown(self._results.value(*floor))}"
        self._add(what, text, figure, ratio <= target)

    def _add_same(self, what, measure, few, target):
        many = self._size.many
        ratio = self._results.ratio((OURS, many, measure), (OURS, few, measure))
        figure = ", ".join(self._results.figure(OURS, keys, measure) for keys in (many, few))
        figure = f"{times(ratio)}: {figure}"
        self._add(what, f"{many:,} keys <= {target}x of {few:,}", figure, ratio <= target)

    def _add_handed_out(self, what, kind):
        """What is handed out costs as much as an int of this store and the allocations: a hash table tells how much
        more these cost than an int."""
        results = self._results
        ours = self._at_main(OURS, f"handed_out_{kind}")
        floor = self._at_main(OURS, f"handed_out_{kind}_floor")
        look_up = self._at_main(OURS, "handed_out_int")
        bare_look_up = self._at_main(OURS, "handed_out_int_floor")
        expected = [
            own + with_allocations - bare
            for own, with_allocations, bare in zip(
                results.rounds(*look_up), results.rounds(*floor), results.rounds(*bare_look_up)
            )
        ]
        ratio = statistics.median(a / b for a, b in zip(results.rounds(*ours), expected))
        figure = (
            f"{times(ratio)}: {shown(results.value(*ours))}, {shown(statistics.median(expected))}"
            f" ({times(results.ratio(ours, floor))} of a bare look-up with them)"
        )
        self._add(what, "<= 1.3x look-up and allocations", figure, ratio <= 1.3)

    def add_gets(self):
        measures = ("get_int", "get_int_of_snapshot")
        self._add_faster("get an int", measures, 1.5, self._peers, ">= 1.5x as fast as every store")
        self._add_floor("get an int", "get_int", self._at_main(FLOOR, "get_int"), 3, "<= 3x a bare hash look-up")
        self._add_handed_out("get a string", "string")
        self._add_handed_out("get an array of 8 ints", "ints")
        self._add_handed_out("get an array of 8 strings", "strings")

    def add_threads(self):
        gain = self._value("two_threads_gain")
        floor = self._value("two_threads_gain_floor")
        figure = f"{times(gain)} (bare hash look-ups: {times(floor)})"
        self._add("get, two threads", ">= 1.7x one thread", figure, gain >= 1.7)
        for what, measure, target, text in (
            ("median", "read_median", 10, "adds nothing (the clock tells 10 ns)"),
            ("99 %", "read_p99", 2000, "adds < 2 µs"),
        ):
            alone = self._at_main(OURS, f"{measure}_alone")
            beside = self._at_main(OURS, f"{measure}_beside_sets")
            bare = self._at_main(OURS, f"{measure}_beside_bare_writes")
            added = self._results.difference(beside, alone)
            figure = (
                f"{added:+.0f} ns: {shown(self._results.value(*alone))}, {shown(self._results.value(*beside))}"
                f" (beside bare writes: {self._results.difference(bare, alone):+.0f} ns)"
            )
            self._add(f"get beside durable sets, {what}", text, figure, added <= target)

    def add_open_and_list(self):
        among = [store for store in self._peers if store in TEXT_FILES]
        self._add_faster("open, read the first key", ("open",), 3, among, ">= 3x as fast as every text file")
        used = shown(self._value("open_after_sets"))
        self.rows.append(("the same, after many sets", "", f"{used}, with old lines between the others", ""))
        few = self._value("open", self._size.few)
        self._add(f"open, {self._size.few} keys", "<= 100 µs", shown(few), few <= 100e3)
        self._add_same("list 100 keys by prefix", "list", self._size.middle, 1.5)

    def add_sets(self):
        floor = self._at_main(OURS, DURABLE_FLOOR)
        self._add_floor("set, durable", "set_durable", floor, 1.15, "<= 1.15x write and flush")
        self._add_faster("set, durable", ("set_durable",), 1, self._peers, "faster than every store")
        self._add_same("set, durable", "set_durable", self._size.few, 1.2)
        relaxed = self._value("set_relaxed")
        mean = self._value("set_relaxed_mean")
        figure = f"{shown(relaxed)} (mean, with clean-ups: {shown(mean)})"
        self._add("set, relaxed", "<= 3 µs", figure, relaxed <= 3000)
        among = [store for store in self._peers if store in TEXT_FILES]
        self._add_faster("set, relaxed", ("set_relaxed",), 100, among, ">= 100x as fast as every text file")
        self._add_same("set, relaxed", "set_relaxed", self._size.few, 1.3)

    def add_memory(self):
        heap, process, text = (self._value(f"memory_{what}", self._size.many) for what in ("heap", "process", "text"))
        # Whatever is not on the heap counts too.
        beyond = max(heap, process) - text
        what = f"{self._size.many:,} keys with defaults held"
        figure = f"{beyond:.0f} bytes: heap {heap:.0f}, process {process:.0f}, text {text:.0f}"
        self._add(what, "<= 160 bytes a key beyond text", figure, beyond <= 160)

    def add_test_settings(self):
        whole = self._results.value(OURS, 0, "test_settings")
        self._add("testSettings, whole run", "< 0.3 s", f"{whole / 1e9:.2f} s", whole < 0.3e9)

    def add_library(self, library):
        text, needed = code_size(library)
        self._add("shared library, stripped", "<= 150 KB of text", f"{text / 1000:.0f} KB", text <= 150e3)
        others = [name for name in needed if not name.startswith(STANDARD_LIBRARIES)]
        self._add("shared library needs", "C and C++ libraries", ", ".join(needed), not others)


def comparison_table(results, size, stores):
    """The measures of the comparison: the times, and how much more they are than ours."""
    measures = {
        "get an int": "get_int",
        "get a string": "get_string",
        "open": "open",
        "set, durable": "set_durable",
        "set, relaxed": "set_relaxed",
    }

    def cell(store, measure):
        if not results.has(store, size.main, measure):
            return ""
        time = shown(results.value(store, size.main, measure))
        if store == OURS:
            return time
        base = measure.replace("_of_snapshot", "")
        return f"{time} ({times(results.ratio((store, size.main, measure), (OURS, size.main, base)))})"

    rows = [(f"{size.main:,} keys", *measures)]
    for store in (STORES[program] for program in stores):
        rows.append((store, *(cell(store, measure) for measure in measures.values())))
        in_one = [cell(store, f"{measure}_of_snapshot") for measure in measures.values()]
        if any(in_one):
            rows.append((f"{store}, in one transaction", *in_one))
    return rows


CHART_NOTES = (
    "floor: a look-up in a hash table, and a copy of the string;",
    "one write into a file, and one flush if durable",
    "durable: survives the loss of power",
    "relaxed: seen by other programs, and survives the end of its own",
    "open: in a new process, a store as it was filled",
    "SQLite, LMDB: all gets in one transaction",
)


def chart_panels(results, size, stores):
    """Titles, and the name, value and text of each bar."""

    def bars(measure):
        for store in (STORES[program] for program in stores):
            variants = [(store, size.main, name) for name in (measure, f"{measure}_of_snapshot")]
            values = [results.value(*variant) for variant in variants if results.has(*variant)]
            if values:
                yield store, min(values), shown(min(values))

    return [
        ("Get an int", list(bars("get_int"))),
        ("Get a string", list(bars("get_string"))),
        ("Set, durable", list(bars("set_durable"))),
        ("Set, relaxed", list(bars("set_relaxed"))),
        ("Open, read the first key", list(bars("open"))),
    ]


def as_markdown(rows):
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    lines = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |" for row in rows]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def machine(folder):
    model = "unknown processor"
    with open("/proc/cpuinfo", encoding="utf-8") as cpuinfo:
        for line in cpuinfo:
            if line.startswith("model name"):
                model = line.split(":")[1].strip()
                break
    df = subprocess.run(["df", "--output=fstype,source", folder], check=True, stdout=subprocess.PIPE, text=True)
    file_system, disk = df.stdout.splitlines()[1].split(maxsplit=1)
    return f"{model}, {os.cpu_count()} cores, Linux {platform.release()}, {file_system} on {disk.strip()}", file_system


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("folder", help="where the stores are kept: on the disk that is to be measured")
    parser.add_argument("--programs", required=True, help="the folder of the programs")
    parser.add_argument("--shared-library", required=True)
    parser.add_argument("--test-settings", help="the conformance program")
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--quick", action="store_true", help="one round of tiny sizes: shows only that everything runs")
    parser.add_argument("--table", help="a file for what is printed")
    parser.add_argument("--chart", help="a file for the chart, as SVG")
    arguments = parser.parse_args()

    size = Size(arguments.quick)
    results = Results()
    pathlib.Path(arguments.folder).mkdir(parents=True, exist_ok=True)
    description, file_system = machine(arguments.folder)
    if file_system in ("tmpfs", "ramfs"):
        print("This folder is on no disk: a flush costs nothing here.", file=sys.stderr)
    folder = tempfile.mkdtemp(prefix="stores-", dir=os.path.abspath(arguments.folder))
    try:
        runner = Runner(arguments.programs, folder, results)
        fill(runner, size)
        rounds = range(1 if arguments.quick else arguments.rounds)
        for number in rounds:
            results.begin_round(number)
            open_stores(runner, size, number)
        for number in rounds:
            print(f"round {number + 1}", file=sys.stderr)
            results.begin_round(number)
            run_round(runner, size, number)
            if arguments.test_settings:
                run_test_settings(arguments.test_settings, folder, results)
    finally:
        shutil.rmtree(folder)

    report = Report(results, size, runner.stores)
    report.add_gets()
    report.add_threads()
    report.add_open_and_list()
    report.add_sets()
    report.add_memory()
    if arguments.test_settings:
        report.add_test_settings()
    report.add_library(arguments.shared_library)
    text = "\n\n".join(
        (
            description,
            as_markdown([(f"{size.main:,} keys unless said", "target", "measured", "met"), *report.rows]),
            as_markdown(comparison_table(results, size, runner.stores)),
        )
    )
    print(text)
    if arguments.table:
        pathlib.Path(arguments.table).write_text(text + "\n", encoding="utf-8")
    if arguments.chart:
        subtitle = f"{size.main:,} keys, shorter is better, logarithmic scales. {description}"
        svg = chart.draw(chart_panels(results, size, runner.stores), OURS, FLOOR, subtitle, CHART_NOTES)
        pathlib.Path(arguments.chart).write_text(svg, encoding="utf-8")


if __name__ == "__main__":
    main()
