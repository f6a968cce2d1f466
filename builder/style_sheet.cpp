// The default style sheet of a book, in fragments; its classes are those of the page documents.
#include "builder/epub_base.h"

const char* const kCssRes[23] = {
    "body {\n display: block;\n font-size: 1em;\n ",
    "margin-bottom: 0;\n",
    "margin-left: 5pt;\n",
    "margin-right: 5pt;\n",
    "margin-top: 0;\n",
    "padding-left: 0;\n",
    "padding-right: 0\n",
    "}\n",
    "p.text {\n",
    "display: block;\n",
    "text-indent: 1em;\n",
    "margin-bottom:1em;\n",
    "margin-left: 0;\n",
    "margin-right: 0;\n",
    "margin-top: 1em;\n",
    "}\n",
    "div.div1 {\n",
    "width: 100%\n",
    "}\n",
    "img.img1 {\n",
    "width: 100%\n",
    "}\n",
    "###",
};
