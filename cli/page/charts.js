/** What draws the charts again: when the theme changes, for paper, for another ratio. */
const drawings = [];

function colour(name) {
    return getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim();
}

/** The same colour, as a band behind a line. */
function faint(name) {
    return colour(name) + "40";
}

function axis(title, more) {
    return {
        type: "linear",
        title: {display: true, text: title, color: colour("quiet")},
        ticks: {color: colour("quiet"), maxRotation: 0, ...more.ticks},
        grid: {color: colour("rule"), borderColor: colour("quiet"), drawTicks: false, ...more.grid},
        ...more.scale,
    };
}

function options(x, y, label) {
    return {
        animation: false,
        maintainAspectRatio: false,
        parsing: false,
        normalized: true,
        devicePixelRatio: Math.max(2, window.devicePixelRatio),  // sharp on paper, too
        interaction: {mode: "nearest", axis: "x", intersect: false},
        scales: {x, y},
        plugins: {
            legend: {display: false},
            tooltip: {
                backgroundColor: colour("text"), titleColor: colour("ground"), bodyColor: colour("ground"),
                displayColors: false, padding: 10,
                filter: (item) => item.dataset.tells,
                callbacks: {title: () => "", label: (item) => label(item.raw)},
            },
        },
    };
}

/** Draws a chart now, and whenever it has to be drawn again. */
function keep(canvas, configuration) {
    let chart = null;
    const draw = () => {
        if (chart) chart.destroy();
        chart = new Chart(canvas, configuration());
    };
    drawings.push(draw);
    return draw;
}

/** A canvas with what it shows in words. */
function plot(label, low) {
    const canvas = element("canvas", {role: "img", "aria-label": label});
    return [canvas, element("div", {class: low ? "plot low" : "plot"}, canvas)];
}

function line(points, name, more) {
    return {type: "scatter", data: points, showLine: true, pointRadius: 0, pointHitRadius: 0, borderWidth: 2,
            borderColor: colour(name), ...more};
}

/** A dotted line at one value. */
function level(value, from, to) {
    return line([{x: from, y: value}, {x: to, y: value}], "text", {borderWidth: 1.5, borderDash: [2, 4]});
}

/** Writes beside a point, where the curve is not. */
function besides(chart, x, y, text) {
    const area = chart.chartArea, context = chart.ctx;
    context.save();
    context.font = `600 13px ${Chart.defaults.font.family}`;
    context.fillStyle = colour("text");
    const left = chart.scales.x.getPixelForValue(x) + 14, width = context.measureText(text).width;
    context.textBaseline = "top";
    const at = [Math.max(area.left, Math.min(left, area.right - width)),
                Math.min(chart.scales.y.getPixelForValue(y) + 12, area.bottom - 20)];
    context.strokeStyle = colour("ground");
    context.lineWidth = 5;
    context.lineJoin = "round";
    context.strokeText(text, ...at);
    context.fillText(text, ...at);
    context.restore();
}

/** IOPS over OP: the measured points, the fit apart from them, the choice, what was asked for. */
function ratioChart(rates, fitted, chosen, required) {
    const ops = rates.map((rate) => rate.op);
    const ends = [Math.min(...ops), Math.max(...ops)];
    const margin = Math.max(1, (ends[1] - ends[0]) * 0.04);
    const datasets = [{type: "scatter", data: rates.map((rate) => ({x: rate.op, y: rate.iops})),
                       pointRadius: 5, pointHoverRadius: 7, backgroundColor: colour("rate"),
                       borderColor: colour("rate"), tells: true}];
    if (chosen) datasets.push({type: "scatter", data: [{x: chosen.op, y: chosen.iops}], pointRadius: 11,
                               pointHoverRadius: 11, borderWidth: 2, borderColor: colour("text"),
                               backgroundColor: "transparent", pointHitRadius: 0});
    if (fitted) datasets.push(line(fitted.map((rate) => ({x: rate.op, y: rate.fitted})), "fit",
        {borderDash: [7, 4], cubicInterpolationMode: "monotone"}));
    if (required) datasets.push(level(required, ends[0] - margin, ends[1] + margin));
    const x = axis("OP (% of the volume left free)", {scale: {min: ends[0] - margin, max: ends[1] + margin,
        afterBuildTicks: (scale) => { scale.ticks = ops.map((value) => ({value})); }}, grid: {display: false}});
    const y = axis("IOPS", {scale: {beginAtZero: true}, ticks: {callback: (value) => String(value)}});
    const names = {id: "names", afterDatasetsDraw: (chart) => {
        if (chosen) besides(chart, chosen.op, chosen.iops, `OP ${chosen.op} %`);
    }};
    return {data: {datasets}, options: options(x, y, (raw) => `OP ${raw.x} %: ${Math.round(raw.y)} IOPS`),
            plugins: [names]};
}

/** A unit of time in which an axis of so many seconds reads well. */
function unitFor(seconds) {
    if (seconds <= 180) return {seconds: 1, name: "s"};
    if (seconds <= 10800) return {seconds: 60, name: "min"};
    return seconds <= 259200 ? {seconds: 3600, name: "h"} : {seconds: 86400, name: "d"};
}

/** Names the ratios above their parts of the time, as far as there is room, and parts them. */
function parting(parts) {
    return {id: "parting", beforeDatasetsDraw: (chart) => {
        const area = chart.chartArea, context = chart.ctx;
        context.save();
        context.font = `600 12px ${Chart.defaults.font.family}`;
        context.textAlign = "center";
        context.textBaseline = "bottom";
        const place = (part) => [part.from, part.to].map((x) => chart.scales.x.getPixelForValue(x));
        const fits = (text, [left, right]) => context.measureText(text).width < right - left - 4;
        const forms = [(op) => `OP ${op} %`, (op) => `${op} %`, (op) => `${op}`];
        const form = forms.find((each) => parts.every((part) => fits(each(part.op), place(part)))) || forms[2];
        context.fillStyle = colour("text");
        if (form !== forms[0]) context.fillText("OP (%)", area.left - 32, area.top - 4);
        for (const part of parts) {
            const [left, right] = place(part);
            context.strokeStyle = colour("quiet");
            context.setLineDash([1, 3]);
            context.beginPath();
            context.moveTo(left, area.top - 18);
            context.lineTo(left, area.bottom);
            if (left > area.left + 1) context.stroke();
            const text = form(part.op);
            if (fits(text, [left, right])) context.fillText(text, (left + right) / 2, area.top - 4);
        }
        context.restore();
    }};
}

/**
 * Values over time, of one ratio after the other: over each other they could not be told apart.
 *
 * @param parts {op, start, end, points} each, times in seconds
 */
function timeChart(parts, name, unit, y, limit) {
    const time = unitFor(parts[parts.length - 1].end);
    const places = parts.map(({op, start, end}) => ({op, from: start / time.seconds, to: end / time.seconds}));
    const datasets = parts.flatMap(({op, start, points}) => {
        const curve = (value) => points.map((point) =>
            ({x: (start + point[0]) / time.seconds, y: point[value], op, point}));
        return [line(curve(2), name, {borderWidth: 0}),
                line(curve(3), name, {borderWidth: 0, backgroundColor: faint(name), fill: "-1"}),
                line(curve(1), name, {borderWidth: 1.75, tells: true})];
    });
    const end = places[places.length - 1].to;
    if (limit) datasets.push(level(limit, 0, end));
    const x = axis(`Time (${time.name})`,
        {scale: {min: 0, max: end}, ticks: {includeBounds: false}, grid: {display: false}});
    const made = options(x, y, ({op, point: [seconds, mean, lowest, highest]}) =>
        [`OP ${op} %, after ${(seconds / time.seconds).toFixed(time.seconds === 1 ? 0 : 1)} ${time.name}`,
         `mean ${mean.toFixed(0)} ${unit}`, `${lowest.toFixed(0)} to ${highest.toFixed(0)} ${unit}`]);
    made.layout = {padding: {top: 22}};
    return {data: {datasets}, options: made, plugins: [parting(places)]};
}

function drawAgain() {
    for (const draw of drawings) draw();
}
