#!/usr/bin/env python3
"""Turns the JSON of bus_bench into tables, a model of the cost and a plot.

    report.py RESULTS.json --table              Markdown on standard output
    report.py RESULTS.json --plot FILE.svg
"""

import json
import sys

SERIES = (("library_us", "library", "#0b6e4f"), ("raw_us", "raw sd-bus", "#e08e0b"), ("naive_us", "serial walk", "#9b2226"))


def buses(results):
    """One entry per measured bus: names, providers and the three times."""
    found = {}
    for result in results:
        if result["scenario"] in ("discovery", "curve"):
            details = result["details"]
            found[details["names"], details["providers"]] = details
    return [found[key] for key in sorted(found)]


def solve(matrix, right):
    """Gaussian elimination; small and well-conditioned here."""
    size = len(right)
    rows = [list(row) + [value] for row, value in zip(matrix, right)]
    for i in range(size):
        pivot = max(range(i, size), key=lambda row: abs(rows[row][i]))
        rows[i], rows[pivot] = rows[pivot], rows[i]
        for j in range(size):
            if j != i:
                factor = rows[j][i] / rows[i][i]
                rows[j] = [a - factor * b for a, b in zip(rows[j], rows[i])]
    return [rows[i][size] / rows[i][i] for i in range(size)]


def model(points, series):
    """Least squares for time = a + b * names + c * providers, relative errors weighing the same."""
    samples = [((1, p["names"], p["providers"]), p[series]) for p in points]
    matrix = [[sum(x[i] * x[j] / y**2 for x, y in samples) for j in range(3)] for i in range(3)]
    right = [sum(x[i] / y for x, y in samples) for i in range(3)]
    coefficients = solve(matrix, right)
    worst = max(abs(sum(c * v for c, v in zip(coefficients, x)) / y - 1) for x, y in samples)
    return coefficients, worst


def print_tables(results):
    print("| measured | value | target | |\n|---|---|---|---|")
    for result in results:
        if result["scenario"] == "curve":
            continue  # measured for the model, without a target
        bound = "≤" if result["bound"] == "at most" else "≥"
        verdict = "" if result["met"] else "missed"
        print(f"| {result['what']} | {result['value']:.2f} | {bound} {result['target']:g} | {verdict} |")
    points = buses(results)
    if not points:
        return
    print("\n| names | providers | library µs | raw µs | serial walk µs |\n|---|---|---|---|---|")
    for p in points:
        print(f"| {p['names']} | {p['providers']} | {p['library_us']:.0f} | {p['raw_us']:.0f} | {p['naive_us']:.0f} |")
    for series, label, _ in SERIES[:2]:
        (a, b, c), worst = model(points, series)
        print(f"\nModel, {label}: {a:.0f} µs + {b:.1f} µs · names + {c:.1f} µs · providers (off by {worst:.0%} at most)")


def plot(points, path):
    width, height, left, bottom = 640, 400, 60, 50
    points = [p for p in points if p["providers"] * 5 == p["names"]]
    top = max(p["naive_us"] for p in points)
    most = max(p["names"] for p in points)

    def place(names, microseconds):
        x = left + names / most * (width - left - 20)
        return x, height - bottom - microseconds / top * (height - bottom - 30)

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="12">',
           f'<rect width="{width}" height="{height}" fill="white"/>',
           '<text x="60" y="18">One read after a complete discovery (every fifth name is a provider)</text>']
    for i in range(5):
        x, y = place(most * i / 4, 0)
        out.append(f'<text x="{x:.0f}" y="{y + 18:.0f}" text-anchor="middle">{most * i // 4}</text>')
        x, y = place(0, top * i / 4)
        out.append(f'<text x="{x - 6:.0f}" y="{y + 4:.0f}" text-anchor="end">{top * i / 4000:.1f}</text>')
        out.append(f'<line x1="{x:.0f}" y1="{y:.0f}" x2="{width - 20}" y2="{y:.0f}" stroke="#ddd"/>')
    out.append(f'<text x="{width / 2}" y="{height - 12}" text-anchor="middle">names on the bus</text>')
    out.append(f'<text x="16" y="{height / 2}" transform="rotate(-90 16 {height / 2})" text-anchor="middle">milliseconds</text>')
    for index, (series, label, colour) in enumerate(SERIES):
        line = " ".join("{:.1f},{:.1f}".format(*place(p["names"], p[series])) for p in points)
        out.append(f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="2"/>')
        out.append(f'<text x="{left + 14}" y="{48 + 18 * index}" fill="{colour}">{label}</text>')
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(out + ["</svg>"]) + "\n")


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        results = json.load(file)
    if sys.argv[2] == "--plot":
        plot(buses(results), sys.argv[3])
    else:
        print_tables(results)


main()
