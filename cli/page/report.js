const report = JSON.parse(document.getElementById("data").textContent);
Chart.defaults.font.family = getComputedStyle(document.body).fontFamily;
Chart.defaults.font.size = 12;

/** A section, its heading within it. */
function section(title, ...children) {
    return element("section", {}, heading(3, title), ...children);
}

/** Its rate as the table has it. */
function rateOf(assessment, {op}) {
    return assessment.measured.rows[assessment.figures.measured.findIndex((ratio) => ratio.op === op)][1];
}

function answer(assessment) {
    if (!assessment)
        return section("Recommendation", note("No ratio of this record has a rate, so there is nothing to recommend."));
    const {recommended, best} = assessment.figures;
    const figure = recommended
        ? [element("p", {class: "choice"}, `OP ${recommended.op} %`),
           element("p", {}, `${rateOf(assessment, recommended)} IOPS`)]
        : [element("p", {class: "choice none"}, "No ratio"),
           element("p", {}, `best: OP ${best.op} %, ${rateOf(assessment, best)} IOPS`)];
    const made = section("Recommendation", element("div", {}, ...figure), facts(assessment.lines));
    made.className = "answer";
    return made;
}

function ratioFigure(assessment) {
    const {measured, recommended, required_iops: required, fit} = assessment.figures;
    const words = ({op}) => `${rateOf(assessment, {op})} at OP ${op} %`;
    const [canvas, holder] = plot(`IOPS over OP, ${measured.length} measured ratios: from ${words(measured[0])} ` +
        `to ${words(measured[measured.length - 1])}${fit.rates ? ", with the fitted curve" : ""}.`, false);
    keep(canvas, () => ratioChart(measured, fit.rates, recommended, required));
    const entries = [["point", "rate", "measured"]];
    if (fit.rates) entries.push(["dashes", "fit", "fitted to the theory, not measured"]);
    if (recommended) entries.push(["ring", "text", "recommended"]);
    if (required) entries.push(["dots", "text", `wish: ${required.toFixed(0)} IOPS`]);
    return element("figure", {}, legend(entries), holder);
}

function markChosen(tableRow) {
    tableRow.className = "chosen";
    tableRow.firstChild.append(element("span", {class: "spoken"}, ", recommended"));
}

function ratios({assessment, results}) {
    if (!assessment) {
        return section("IOPS over OP", results.rows.length === 0 ? note("No ratio has a result.")
            : table("Results of each OP ratio", results.columns, results.rows));
    }
    const {measured, fitted, figures} = assessment;
    const rates = table("Measured at each OP ratio", measured.columns, measured.rows);
    const chosen = figures.measured.findIndex(({op}) => figures.recommended && op === figures.recommended.op);
    if (chosen >= 0) markChosen(rates.querySelectorAll("tbody tr")[chosen]);
    return section("IOPS over OP", ratioFigure(assessment), rates, note(assessment.endurance), note(assessment.fit),
        fitted ? details("Fitted and measured rates as a table", () =>
            [table("Fitted and measured rates", fitted.columns, fitted.rows)]) : null);
}

function events({list, left_out: leftOut}) {
    const whole = (text) => element("span", {class: "whole"}, text);
    const rows = list.map(([moment, type, text]) => {
        const [date, time] = moment.split(" ");
        return [element("span", {}, whole(date), " ", whole(time)), element("span", {class: type}, type),
                foreign(text)];
    });
    const about = "What the appliance's log has of the time of this evaluation.";
    const columns = [{heading: "Time"}, {heading: "Type"}, {heading: "Event", prose: true}];
    return section("Events", note(leftOut > 0 ? `${about} ${leftOut} older ones are left out.` : about),
        rows.length === 0 ? note("There is none.") : table("Events", columns, rows));
}

function nameOf({title, record}) {
    return title || `Record ${record}`;
}

function article(data) {
    const {record, status, sequential} = data.record;
    const name = element("h2", {id: `record-${record}`}, foreign(nameOf(data.record)));
    return element("article", {"aria-labelledby": name.id}, name,
        element("p", {class: "under"}, `Record ${record}, ${status}. ${sequential ? "Sequential" : "Random"} writes.`),
        answer(data.assessment), ratios(data), times(data.samples),
        section("Drives", data.groups.length === 0 ? note("There is none.") : null,
            ...data.groups.map(({title, drives}) => table(title, drives.columns, drives.rows))),
        events(data.events), section("Evaluation and appliance", facts([...data.facts, ...data.appliance])));
}

/** Which records there are, where there are several. */
function overview(records) {
    if (records.length < 2) return null;
    const rows = records.map(({record, assessment}) => {
        const chosen = assessment && assessment.figures.recommended;
        const link = element("a", {href: `#record-${record.record}`}, foreign(nameOf(record)));
        return [link, record.status,
                chosen ? `OP ${chosen.op} %` : "none", chosen ? rateOf(assessment, chosen) : "-"];
    });
    return element("nav", {"aria-label": "Records"}, table("Records on this page",
        [{heading: "Title", prose: true}, {heading: "Status"}, {heading: "Recommended", number: true},
         {heading: "IOPS", number: true}], rows));
}

function build() {
    const {records, made} = report;
    document.getElementById("made").textContent = `Made ${made}`;
    const name = records.length === 1 ? nameOf(records[0].record) : `${records.length} records`;
    document.title = `${name} - SSD over-provisioning`;
    const overall = overview(records);
    if (overall) document.getElementById("records").before(overall);
    document.getElementById("records").replaceChildren(...records.map(article));
    drawAgain();
}

/** On paper the colours are light ones, and all ratios are shown. */
function toPaper(paper) {
    document.documentElement.classList.toggle("paper", paper);
    for (const chosen of paper ? document.querySelectorAll("select") : []) chosen.value = "";
    drawAgain();
}

build();
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", drawAgain);
window.addEventListener("beforeprint", () => toPaper(true));
window.addEventListener("afterprint", () => toPaper(false));
