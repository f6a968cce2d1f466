// The style sheets that all pages of a site have.
#ifndef KAVEPUB_PAGE_DEFAULT_STYLES_H
#define KAVEPUB_PAGE_DEFAULT_STYLES_H

// How browsers show what reading systems may not know; comes before a page's own sheets.
inline constexpr char kBrowserStyle[] = R"(img { max-width: 100%; height: auto; }
pre, code, kbd, samp, tt { font-family: monospace; }
pre { margin: 1em 0; white-space: pre-wrap; }
pre { font-size: 0.85em; }
p code, li code, dd code, td code, dt code { font-size: 0.9em; }
table { border-collapse: collapse; }
th { text-align: left; }
blockquote { margin: 1em 2em; }
dd { margin-left: 2em; }
.u, .ins { text-decoration: underline; }
.s, .strike { text-decoration: line-through; }
.mark { background-color: #ffff66; color: #000000; }
.center { text-align: center; }
.rt, .rp { font-size: 0.6em; }
.summary, .legend { font-weight: bold; }
span.line { display: block; }
.figure { margin: 1em 2em; }
.missing { font-style: italic; }
)";

// What pages of a book need and windows do not; comes behind them. Words break by their older name
// only, as MuPDF 1.21 never comes to an end of some pages by the newer one.
inline constexpr char kBookStyle[] = R"(.frame { float: none !important; width: auto !important;
  min-width: 0 !important; max-width: none !important; height: auto !important;
  margin-left: 0 !important; margin-right: 0 !important; padding-left: 0 !important;
  padding-right: 0 !important; position: static !important; display: block !important; }
img { max-width: 100% !important; }
body { word-wrap: break-word; }
pre { white-space: pre-wrap !important; }
)";

#endif
