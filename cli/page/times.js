const kAxisWidth = 64;  // of both charts over time, so that their times lie below each other

/** What differs between the charts over time. */
const kKinds = {
    iops: {
        title: "IOPS over time", axis: "IOPS", unit: "IOPS", colour: "rate",
        line: "mean", band: "lowest to highest", scale: () => ({beginAtZero: true}),
    },
    celsius: {
        title: "Temperature over time", axis: "Temperature (°C)", unit: "°C", colour: "heat",
        line: "mean of the drives", band: "coolest to hottest",
        scale: (lowest, highest) => ({suggestedMin: lowest - 3, suggestedMax: highest + 3}),
    },
};

/** The ratios one after the other; both charts of a record have the same times. */
function partsOf(samples, kind) {
    let start = 0;
    const parts = [];
    for (const ratio of samples) {
        const series = [ratio.iops, ratio.celsius].filter((each) => each);
        const end = start + Math.max(1, ...series.map(({points}) => points[points.length - 1][0]));
        if (ratio[kind]) parts.push({op: ratio.op, start, end, points: ratio[kind].points});
        start = end;
    }
    return parts;
}

function seriesTables(told, kind) {
    const unit = kKinds[kind].unit;
    const numbers = (headings) => headings.map((heading) => ({heading, number: true}));
    const all = told.map(({op, [kind]: {samples, lowest, mean, highest}}) =>
        [`${op} %`, String(samples), String(lowest), mean.toFixed(1), String(highest)]);
    const points = told.flatMap(({op, [kind]: series}) =>
        series.points.map((point) => [`${op} %`, ...point.map(String)]));
    return [table(`All samples of each ratio (${unit})`,
                  numbers(["OP", "Samples", "Lowest", "Mean", "Highest"]), all),
            table(`Points of the chart (${unit})`,
                  numbers(["OP", "Time (s)", "Mean", "Lowest", "Highest"]), points)];
}

/** @returns {HTMLElement|null} none where there are no samples of the kind */
function timeFigure(samples, kind, chosen) {
    const told = samples.filter((ratio) => ratio[kind]);
    if (told.length === 0) return null;
    const {title, unit, axis: name, colour: hue, line: inner, band, scale} = kKinds[kind];
    const lowest = Math.min(...told.map((ratio) => ratio[kind].lowest));
    const highest = Math.max(...told.map((ratio) => ratio[kind].highest));
    const [canvas, holder] = plot(`${title}, ${told.length} OP ratios one after the other: ` +
        `from ${lowest.toFixed(0)} to ${highest.toFixed(0)} ${unit}.`, true);
    const throttling = report.throttling_celsius;
    const limit = kind === "celsius" && highest > throttling - 8 ? throttling : 0;
    const draw = keep(canvas, () => {
        const shown = samples.filter((ratio) => chosen.value === "" || String(ratio.op) === chosen.value);
        const parts = partsOf(shown, kind);
        if (parts.length === 0) parts.push({op: chosen.value, start: 0, end: 1, points: []});
        const y = axis(name, {
            ticks: {callback: (value) => String(value)},
            scale: {afterFit: (fitted) => { fitted.width = kAxisWidth; }, ...scale(lowest, highest)},
        });
        return timeChart(parts, hue, unit, y, limit);
    });
    chosen.addEventListener("change", draw);
    const entries = [["line", hue, inner], ["band", hue, band]];
    if (limit) entries.push(["dots", "text", `${limit} °C: drives may slow down`]);
    return element("figure", {class: "time"}, heading(4, title), legend(entries), holder,
        details(`${title} as tables`, () => seriesTables(told, kind)));
}

/** The section about samples. */
function times(samples) {
    if (samples.length === 0) return section("Over time", note("There are no samples."));
    const chosen = element("select", {}, element("option", {value: ""}, "all, one after the other"),
        ...samples.map(({op}) => element("option", {value: String(op)}, `OP ${op} %`)));
    const thinned = samples.filter(({iops}) => iops && iops.every > 1)
        .map(({op, iops}) => ` Of OP ${op} % one sample in ${iops.every} was read.`).join("");
    return section("Over time",
        note(`A ratio has at most ${report.spans} points, one for each equal span of its time: the mean ` +
             "of the samples in it, the lowest and the highest. ssd-op export --csv has all samples." + thinned),
        element("label", {class: "choose"}, "Ratios", chosen),
        timeFigure(samples, "iops", chosen), timeFigure(samples, "celsius", chosen));
}
