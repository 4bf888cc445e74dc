// The switch for light and dark, the pages' list on narrow screens, and the mark of where one is on a page.
"use strict";

const root = document.documentElement;
const dark = matchMedia("(prefers-color-scheme: dark)");

document.querySelector(".theme").addEventListener("click", () => {
    const shown = root.dataset.theme || (dark.matches ? "dark" : "light");
    const other = shown === "dark" ? "light" : "dark";
    root.dataset.theme = other === (dark.matches ? "dark" : "light") ? "" : other; // the desktop's own is followed again
    try { localStorage.setItem("lumokit-theme", root.dataset.theme); } catch (error) { /* nothing is kept here */ }
});

const menu = document.querySelector(".menu");
const showPages = shown => {
    root.classList.toggle("shows-pages", shown);
    menu.setAttribute("aria-expanded", String(shown));
};
menu.addEventListener("click", () => showPages(!root.classList.contains("shows-pages")));
document.addEventListener("keydown", event => {
    if (event.key === "Escape")
        showPages(false);
    if (event.key === "/" && !/^(INPUT|TEXTAREA)$/.test(event.target.tagName)) {
        event.preventDefault();
        document.querySelector(".search input").focus();
    }
});

const current = document.querySelector(".pages .current > a.current:last-of-type");
const list = document.querySelector(".pages");
if (current)
    list.scrollTop = current.offsetTop - list.clientHeight / 3;

for (const table of document.querySelectorAll("article table")) { // wide ones scroll by themselves
    const frame = document.createElement("div");
    frame.className = "table";
    table.replaceWith(frame);
    frame.append(table);
}

const entries = new Map([...document.querySelectorAll(".contents a[href^='#']")].map(link => [link.hash.slice(1), link]));
const sections = [...document.querySelectorAll("article section[id]")].filter(section => entries.has(section.id));
const mark = () => {
    const reached = sections.filter(section => section.getBoundingClientRect().top < 120).at(-1);
    for (const [name, link] of entries)
        link.classList.toggle("here", reached !== undefined && name === reached.id);
};
addEventListener("scroll", mark, {passive: true});
mark();
