#!/usr/bin/env python3
"""Prints Google Benchmark results as ratios to their group's baseline.

A benchmark named <Group>_Baseline is the baseline of every <Group>_<Subject> in the same run.
Reads the JSON files named on the command line."""
import json
import sys


def main(paths):
    rows = []
    for path in paths:
        with open(path) as f:
            data = json.load(f)
        for b in data.get("benchmarks", []):
            if b.get("run_type") == "aggregate" and b.get("aggregate_name") != "median":
                continue
            rows.append(b)
    baselines = {}
    for b in rows:
        name = b["run_name"] if "run_name" in b else b["name"]
        group, _, subject = name.partition("_")
        if subject.split("/")[0] == "Baseline":
            baselines[group] = b
    print(f"{'benchmark':<52} {'time':>14} {'baseline':>14} {'ratio':>7}  extra")
    for b in rows:
        name = b.get("run_name", b["name"])
        group, _, subject = name.partition("_")
        unit = b.get("time_unit", "ns")
        t = b["real_time"]
        base = baselines.get(group)
        if base is not None and base is not b:
            ratio = f"{t / base['real_time']:.2f}x" if base["real_time"] else "-"
            base_text = f"{base['real_time']:.1f} {base.get('time_unit', 'ns')}"
        else:
            ratio, base_text = ("1.00x" if base is b else "-"), "-"
        skip = {"name", "run_name", "run_type", "repetitions", "repetition_index", "threads",
                "iterations", "real_time", "cpu_time", "time_unit", "family_index",
                "per_family_instance_index", "aggregate_name", "aggregate_unit", "error_occurred",
                "error_message", "label"}
        extra = " ".join(f"{k}={v:.4g}" if isinstance(v, float) else f"{k}={v}"
                         for k, v in b.items() if k not in skip)
        if b.get("error_occurred"):
            extra = "ERROR " + b.get("error_message", "")
        print(f"{name:<52} {t:>11.1f} {unit:<2} {base_text:>14} {ratio:>7}  {extra}")


if __name__ == "__main__":
    main(sys.argv[1:])
