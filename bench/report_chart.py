"""bench/results.png: each reader's time over the byte-read floor, and the time
per triangle across the scaling sizes."""
from report_data import CASES, FORMATS


def chart(report, path):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    bars = []  # (case label, role, ratio)
    for fmt in FORMATS:
        for case, roles in report.cases.items():
            if report.case_format.get(case) != fmt or "floor" not in roles:
                continue
            for role, run in roles.items():
                if role != "floor":
                    bars.append((CASES.get(case, {}).get("short", f"{fmt}\n{case}"), role, run["cpu"] / roles["floor"]["cpu"]))
    has_scaling = bool(getattr(report, "scaling_families", None))
    fig, axes = plt.subplots(1, 2 if has_scaling else 1, figsize=(15 if has_scaling else 10, 6.2),
                             gridspec_kw={"width_ratios": [2, 1]} if has_scaling else None)
    ax = axes[0] if has_scaling else axes
    labels = list(dict.fromkeys(b[0] for b in bars))
    colours = {"kelp": "#2a7ab0", "assimp": "#d9822b", "tinyobjloader": "#5aa05a",
               "ifstream line loop": "#999999", "fscanf loop": "#777777"}
    width = 0.22
    shown = set()
    for j, label in enumerate(labels):
        group = [b for b in bars if b[0] == label]
        group.sort(key=lambda b: (b[1] != "kelp", b[1]))
        for i, (_, role, value) in enumerate(group):
            x = j + (i - (len(group) - 1) / 2) * width
            name = "KelpFileIO" if role == "kelp" else role
            ax.bar(x, value, width, color=colours.get(role, "#bbbbbb"),
                   label=None if name in shown else name)
            ax.text(x, value * 1.05, f"{value:.1f}", ha="center", va="bottom", fontsize=7)
            shown.add(name)
    ax.set_yscale("log")
    ax.axhline(1, color="black", linewidth=0.8)
    ax.set_xticks(range(len(labels)))
    ax.set_xticklabels(labels, fontsize=8)
    ax.set_ylabel("CPU time ÷ reading the bytes (log)")
    ax.set_title("Read time relative to the byte-read floor (lower is better)")
    ax.legend(fontsize=8)
    if has_scaling:
        ax2 = axes[1]
        for title, roles_ in report.scaling_families.items():
            run_by_size = roles_.get("kelp", {})
            xs = sorted(run_by_size)
            line, = ax2.plot(xs, [run_by_size[s]["cpu"] / s * 1e9 for s in xs], marker="o",
                             label=f"KelpFileIO {title}")
            floor_by_size = roles_.get("floor", {})
            fx = sorted(floor_by_size)
            ax2.plot(fx, [floor_by_size[s]["cpu"] / s * 1e9 for s in fx], linestyle="--", marker=".",
                     color=line.get_color(), alpha=0.6, label=f"floor, {title.split(' read')[0]} file")
        ax2.set_xscale("log")
        ax2.set_yscale("log")
        ax2.set_xlabel("triangles")
        ax2.set_ylabel("ns per triangle (CPU)")
        ax2.set_title("Scaling (flat = linear cost)")
        ax2.legend(fontsize=7, loc="upper center", bbox_to_anchor=(0.5, -0.13), ncol=2)
    if report.args.quick:
        fig.suptitle("quick run (bench/run --quick)", fontsize=9, color="#aa0000")
    fig.tight_layout()
    fig.savefig(path, dpi=110)
