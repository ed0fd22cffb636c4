// Put behind a report's page by open_in_browser: leaves in the document, as JSON, what a reader of
// the page finds.
"use strict";
(() => {
    const numbers = (colour) => colour.match(/[\d.]+/g).map(Number);

    function luminance(colour) {
        const [red, green, blue] = numbers(colour).map((value) => {
            const share = value / 255;
            return share <= 0.03928 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
        });
        return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
    }

    function contrast(a, b) {
        const [dark, light] = [luminance(a), luminance(b)].sort((x, y) => x - y);
        return (light + 0.05) / (dark + 0.05);
    }

    /** What a text stands on. */
    function ground(element) {
        for (let at = element; at; at = at.parentElement) {
            const colour = getComputedStyle(at).backgroundColor;
            if (numbers(colour)[3] !== 0) return colour;
        }
        return "rgb(255, 255, 255)";
    }

    const hasText = (element) => [...element.childNodes].some((node) => node.nodeType === Node.TEXT_NODE && node.data.trim());
    const faint = [...document.body.querySelectorAll("*")].filter((element) => element.checkVisibility() && hasText(element))
        .map((element) => [element.textContent.slice(0, 40), contrast(getComputedStyle(element).color, ground(element))])
        .filter(([, ratio]) => ratio < 4.5);

    /** Pixels that have the colour of one of the curves, as the theme has it now. */
    function drawn(canvas) {
        const probe = document.body.appendChild(document.createElement("i"));
        const colours = ["rate", "heat"].map((name) => {
            probe.style.color = `var(--${name})`;
            return numbers(getComputedStyle(probe).color);
        });
        probe.remove();
        const {data} = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
        let count = 0;
        for (let i = 0; i < data.length; i += 4)
            if (data[i + 3] > 200 && colours.some((colour) => colour.every((value, k) => Math.abs(value - data[i + k]) < 8))) ++count;
        return count;
    }

    for (const summary of document.querySelectorAll("summary")) summary.click();
    setTimeout(() => {
        const texts = (nodes) => [...nodes].map((node) => node.textContent);
        const found = {
            title: document.title,
            width: innerWidth,
            needed: document.documentElement.scrollWidth,
            headings: [...document.querySelectorAll("h1, h2, h3, h4")].map((heading) => Number(heading.localName[1])),
            charts: [...document.querySelectorAll("canvas")].map((canvas) => ({
                label: canvas.getAttribute("role") === "img" ? canvas.getAttribute("aria-label") : "", drawn: drawn(canvas),
                width: canvas.clientWidth})),
            tables: [...document.querySelectorAll("table")].map((table) => ({
                caption: table.caption ? table.caption.textContent : "",
                scoped: [...table.querySelectorAll("th")].every((cell) => cell.scope !== ""),
                rows: [...table.tBodies[0].rows].map((row) => texts(row.cells))})),
            faint,
        };
        const holder = document.body.appendChild(document.createElement("pre"));
        holder.id = "found";
        holder.textContent = JSON.stringify(found);
    }, 500);
})();
