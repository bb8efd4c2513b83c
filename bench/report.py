#!/usr/bin/python3
"""Writes bench/RESULTS.md and bench/results.png from one bench/run.

Reads the Google Benchmark JSON files and kelp_peak lines that bench/run left
in its results directory. Ratios use CPU time: the machine is shared, and CPU
time moves less than wall time when other processes compete for the cores.
"""
import argparse

from report_tables import Report


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--results", required=True)
    parser.add_argument("--scratch", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--quick", action="store_true")
    Report(parser.parse_args()).write()


if __name__ == "__main__":
    main()
