// What the gallery's page has beyond the program's other pages: contents, dividers, and the few
// lines of script that move these.
#pragma once

namespace host {

inline constexpr const char* galleryStyle = R"(
nav ol { columns: 15rem; margin: .6rem 0; padding-left: 1.6rem; }
pre.numbers { background: none; color: inherit; border: 1px solid var(--line); }
@media screen { pre.numbers { white-space: pre; } } /* rows of a matrix stay rows on a phone */
figure:first-child:nth-last-child(4), figure:first-child:nth-last-child(4) ~ figure {
  flex-basis: 45%; min-width: min(100%, 300px); }
pre.failed { color: var(--bad); } figure.wide { flex-basis: 100%; } .row { margin-bottom: .8rem; }
.divider { position: relative; display: inline-block; max-width: 100%; --at: 35%; }
.divider img + img, .divider a + a { position: absolute; inset: 0; }
.divider a + a { clip-path: inset(0 calc(100% - var(--at)) 0 0); }
.divider::after { content: ""; position: absolute; top: 0; bottom: 1.9rem; left: var(--at);
                  border-left: 2px solid #fff; box-shadow: 0 0 2px 1px #000; pointer-events: none; }
.divider a { display: block; } .divider a + a { bottom: 1.9rem; }
.divider input { width: 100%; height: 1.5rem; margin: .2rem 0 0; display: block; }
@media print { .divider input { display: none; } .divider::after, .divider a + a { bottom: 0; } }
)";

inline constexpr const char* galleryScript = R"(
for (const slider of document.querySelectorAll(".divider input"))
  slider.addEventListener("input", () =>
    slider.parentNode.style.setProperty("--at", slider.value + "%"));
)";

} // namespace host
