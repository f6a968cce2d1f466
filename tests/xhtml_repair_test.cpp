// The clean-up of foreign HTML, rule by rule: this body in, that body out.
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/valid.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "temp_dir.h"
#include "xml/xml_base.h"

namespace {

constexpr char kBlue[] = "<span style=\"color:#0000ff;\">";

struct Page {
  int code;
  std::string markup;  // the whole file
  std::string body;    // what its body holds
  std::vector<std::string> sources;
};

// A directory with a DTD and a picture, a page and a style sheet to refer to.
class Workplace {
 public:
  Workplace() {
    dir.Write("xhtml.dtd", kXhtml1StrictDtd[0]);
    for (const char* name : {"p.png", "sub/q.jpg", "a b.png", "b.html", "100%.png"}) {
      dir.Write(name, "x");
    }
  }

  Page Clean(const std::string& html, const char* dtd = "xhtml.dtd") const {
    const std::string source = dir.Write("source.html", html);
    const std::string saved = dir / "saved.html";
    XMLBase page;
    page.Init();
    const int code =
        page.HtmlProcess(source.c_str(), dir.String().c_str(), "title", (dir / dtd).c_str());
    page.SaveFile(saved.c_str());
    Page result{code, ReadFile(saved), {}, {}};
    while (char* path = page.GetXhtmlExternSource()) {
      result.sources.emplace_back(path);
      std::free(path);
    }
    const size_t start = result.markup.find("<body>");
    const size_t end = result.markup.rfind("</body>");
    result.body = start == std::string::npos || end == std::string::npos
                      ? result.markup
                      : result.markup.substr(start + 6, end - start - 6);
    return result;
  }

  const TempDir dir;
};

struct Case {
  const char* name;
  std::string body;
  std::string expected;
};

class Repair : public testing::TestWithParam<Case> {};

TEST_P(Repair, MakesOfMarkup) {
  const Workplace workplace;
  const Page page = workplace.Clean("<html><body>" + GetParam().body + "</body></html>");
  EXPECT_EQ(page.code, 0);
  EXPECT_EQ(page.body, GetParam().expected);
}

std::string NameOf(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Elements, Repair,
    testing::Values(
        Case{"UnknownInlineBecomesSpan", "<p><font color=\"red\">x</font></p>",
             "<p><span>x</span></p>"},
        Case{"UnknownBlockBecomesDiv", "<center align=\"left\">x</center>", "<div>x</div>"},
        Case{"UnknownInListGoes", "<ul><font>x</font><li>y</li></ul>", "<ul><li>y</li></ul>"},
        Case{"PartOfANamePasses", "<p><tml>x</tml></p>", "<p><span>x</span></p>"},
        Case{"PartOfANamePassesInABody", "<tml>x</tml>", "<div><tml>x</tml></div>"},
        Case{"BlockInsideDivIsNoChild", "<div><center>x</center></div>",
             "<div><span>x</span></div>"},
        Case{"ObjectInParagraph", "<p><object data=\"x\">y</object></p>", "<p><span>y</span></p>"},
        Case{"ObjectInDiv", "<div><object data=\"x\">y</object></div>", "<div><div>y</div></div>"},
        Case{"FormBecomesDiv", "<form action=\"x\"><p>y</p></form>", "<div><p>y</p></div>"},
        Case{"ScriptGoes", "<script>var a;</script><p>x</p>", "<p>x</p>"},
        Case{"StyleGoes", "<style>p {}</style><p>x</p>", "<p>x</p>"},
        Case{"CommentGoes", "<p>a<!-- b -->c</p>", "<p>ac</p>"},
        Case{"CommentElementGoes", "<comment>a</comment><p>b</p>", "<p>b</p>"},
        Case{"CommentElementInParagraph", "<p><comment>a</comment></p>", "<p><span>a</span></p>"},
        Case{"HeadElementsGo", "<p>a</p><title>b</title><meta name=\"c\"><link href=\"p.png\">",
             "<p>a</p>"},
        Case{"BlockquoteBecomesDiv", "<blockquote cite=\"x\"><p>y</p></blockquote>",
             "<div><p>y</p></div>"},
        Case{"DivLosesStyle", "<div style=\"a\" class=\"b\">x</div>", "<div class=\"b\">x</div>"},
        Case{"PrefixedElement", "<p><o:p>x</o:p></p>", "<p><span>x</span></p>"},
        Case{"ProcessingInstruction", "<p>x<?php y></p>", "<p>x<?span y?></p>"},
        Case{"InvalidChildOfInline", "<p><span><h1>x</h1></span></p>",
             "<p><span><span>x</span></span></p>"},
        Case{"ClearedEmptyElement", "<hr><p>x</p>", "<hr/><p>x</p>"},
        Case{"MapWithoutIdIsCleared", "<map name=\"m\"><p>x</p></map>", "<map/>"},
        Case{"BdoWithoutDirection", "<p><bdo>x</bdo></p>", "<p><bdo dir=\"ltr\"/></p>"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(LooseContent, Repair,
                         testing::Values(Case{"TextGetsADiv", "x<p>y</p>", "<div>x</div><p>y</p>"},
                                         Case{"EachGetsItsOwn", "<p>a</p><b>b</b><i>c</i>",
                                              "<p>a</p><div><b>b</b></div><div><i>c</i></div>"},
                                         Case{"BlocksStay", "<h1>a</h1><ul><li>b</li></ul><hr>",
                                              "<h1>a</h1><ul><li>b</li></ul><hr/>"}),
                         NameOf);

INSTANTIATE_TEST_SUITE_P(
    Images, Repair,
    testing::Values(Case{"Local", "<p><img src=\"p.png\" alt=\"x\"></p>",
                         "<p><img src=\"p.png\" alt=\"x\"/></p>"},
                    Case{"InADirectory", "<p><img src=\"sub/q.jpg\" alt=\"\"></p>",
                         "<p><img src=\"q.jpg\" alt=\"\"/></p>"},
                    Case{"WithoutAlt", "<p><img src=\"p.png\"></p>",
                         "<p><img src=\"p.png\" alt=\" \"/></p>"},
                    Case{"WithoutSource", "<p>a<img alt=\"x\">b</p>", "<p>ab</p>"},
                    Case{"OfAnotherKind", "<p><img src=\"x.svg\" alt=\"y\"></p>", "<p/>"},
                    Case{"InUpperCase", "<p><img src=\"P.PNG\" alt=\"y\"></p>", "<p/>"},
                    Case{"WithoutExtension", "<p><img src=\"x\" alt=\"y\"></p>",
                         std::string("<p>") + kBlue + "y</span></p>"},
                    Case{"Remote", "<p><img src=\"http://x/y.png\" alt=\"a &amp; b\"></p>",
                         std::string("<p>") + kBlue + "a &amp; b</span></p>"},
                    Case{"RemoteWithoutAlt", "<p><img src=\"http://x/y.png\"></p>",
                         "<p><span style=\"color:#0000ff;\"/></p>"},
                    Case{"Missing", "<p><img src=\"none.png\" alt=\"y\"></p>",
                         std::string("<p>") + kBlue + "y</span></p>"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Anchors, Repair,
    testing::Values(
        Case{"WithoutAttributes", "<p><a>x</a></p>", "<p><span>x</span></p>"},
        Case{"WithoutTarget", "<p><a id=\"i\">x</a></p>", "<p><a id=\"i\">x</a></p>"},
        Case{"NameIsLost", "<p><a name=\"n\">x</a></p>", "<p><a>x</a></p>"},
        Case{"Script", "<p><a href=\"javascript:f()\">x</a></p>",
             std::string("<p>") + kBlue + "x</span></p>"},
        Case{"RemoteFile", "<p><a href=\"http://x/y.html\">x</a></p>",
             std::string("<p>") + kBlue + "x</span></p>"},
        Case{"RemoteSite", "<p><a href=\"http://x/\">x</a></p>",
             "<p><a href=\"http://x/\">x</a></p>"},
        Case{"Local", "<p><a href=\"./b.html\" title=\"t\">x</a></p>",
             "<p><a href=\"b.html\" title=\"t\">x</a></p>"},
        Case{"LocalMissing", "<p><a href=\"none.html\">x</a></p>",
             std::string("<p>") + kBlue + "x</span></p>"},
        Case{"LocalFragment", "<p><a href=\"b.html#f\">x</a></p>",
             std::string("<p>") + kBlue + "x</span></p>"},
        Case{"LiveFragment", "<p id=\"f\"><a href=\"#f\">x</a></p>",
             "<p id=\"f\"><a href=\"#f\">x</a></p>"},
        Case{"FragmentAhead", "<p><a href=\"#f\">x</a></p><p id=\"f\">y</p>",
             "<p><a href=\"#f\">x</a></p><p id=\"f\">y</p>"},
        Case{"DeadFragment", "<p><a href=\"#f\">x</a></p>",
             std::string("<p>") + kBlue + "x</span></p>"},
        Case{"FragmentOfALinkThatIsNoMore",
             "<p><a id=\"f\" href=\"b.html#g\">x</a><a href=\"#f\">y</a></p>",
             std::string("<p>") + kBlue + "x</span>" + kBlue + "y</span></p>"},
        Case{"FragmentWithABar", "<p id=\"a|b\"><a href=\"#a|b\">x</a><a href=\"#a\">y</a></p>",
             std::string("<p id=\"a|b\"><a href=\"#a|b\">x</a>") + kBlue + "y</span></p>"},
        Case{"InAList", "<ul><a href=\"b.html\">x</a><li>y</li></ul>", "<ul>x<li>y</li></ul>"},
        Case{"EmptyInAList", "<ul><a href=\"b.html\"></a><li>y</li></ul>", "<ul><li>y</li></ul>"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Attributes, Repair,
    testing::Values(
        Case{"Unknown", "<p align=\"left\" class=\"c\" data-x=\"1\">x</p>", "<p class=\"c\">x</p>"},
        Case{"Prefixed", "<p xmlns:o=\"u\" o:x=\"1\" v:y=\"2\">x</p>", "<p>x</p>"},
        Case{"Events", "<p onclick=\"a\" onkeyup=\"b\">x</p>", "<p>x</p>"},
        Case{"EventsNotListed", "<p onload=\"a\">x</p>", "<p>x</p>"},
        Case{"PartOfAnEvent", "<p o=\"a\">x</p>", "<p>x</p>"},
        Case{"Empty", "<p title=\"\" class=\"\">x</p>", "<p>x</p>"},
        Case{"Language", "<p lang=\"en\">x</p>", "<p xml:lang=\"en\">x</p>"},
        Case{"LanguageTwice", "<p xml:lang=\"de\" lang=\"en\">x</p>", "<p xml:lang=\"en\">x</p>"},
        Case{"LanguageTwiceOtherOrder", "<p lang=\"en\" xml:lang=\"de\">x</p>",
             "<p xml:lang=\"en\">x</p>"},
        Case{"DuplicateId", "<p id=\"i\">x</p><p id=\"i\">y</p>", "<p id=\"i\">x</p><p>y</p>"},
        Case{"IdWithABlank", "<p id=\"a b\">x</p>", "<p>x</p>"},
        Case{"IdEndingAfterAMark", "<p id=\"a#b\">x</p><p id=\"b\">y</p>",
             "<p id=\"a#b\">x</p><p>y</p>"},
        Case{"IdEndingBeforeABar", "<p id=\"a#b|c|d\">x</p><p id=\"b|c\">y</p>",
             "<p id=\"a#b|c|d\">x</p><p>y</p>"},
        Case{"Insertion", "<p><ins cite=\"a\" datetime=\"b\" id=\"c\">x</ins></p>",
             "<p><ins>x</ins></p>"},
        Case{"ValueNotInTheDtd", "<table><tr align=\"middle\"><td>x</td></tr></table>",
             "<table><tr align=\"left\"><td>x</td></tr></table>"},
        Case{"Direction", "<p><bdo dir=\"up\">x</bdo></p>", "<p><bdo dir=\"ltr\">x</bdo></p>"},
        Case{"EntitiesAndQuotes", "<p title=\"a &quot;b&quot; &amp; c\">&lt;&nbsp;&eacute;</p>",
             "<p title=\"a &quot;b&quot; &amp; c\">&lt;\xC2\xA0\xC3\xA9</p>"}),
    NameOf);

TEST(LocalSources, AreHandedOutLastFirst) {
  const Workplace workplace;
  const Page page = workplace.Clean(
      "<p><a href=\"b.html\">x</a><img src=\"sub/q.jpg\"><img src=\"a%20b.png\">"
      "<img src=\"100%25.png\"></p>");
  const std::vector<std::string> expected = {"100%.png", "a b.png", "sub/q.jpg", "b.html"};
  EXPECT_EQ(page.sources, expected);
}

TEST(StyleLink, IsKeptForASheetBesideThePage) {
  const Workplace workplace;
  EXPECT_EQ(workplace.Clean("<p>x").markup.find("<link"), std::string::npos);
  workplace.dir.Write("main.css", "p {}");
  const Page page = workplace.Clean("<p>x");
  EXPECT_NE(page.markup.find(R"(<link rel="stylesheet" type="text/css" href="main.css"/>)"),
            std::string::npos);
  EXPECT_EQ(page.sources, std::vector<std::string>{"main.css"});
}

struct Failure {
  const char* name;
  const char* html;
  const char* dtd;
  int code;
};

class CleanUpFailure : public testing::TestWithParam<Failure> {};

TEST_P(CleanUpFailure, HasItsCode) {
  const Workplace workplace;
  workplace.dir.Write("broken.dtd", "<!ELEMENT");
  EXPECT_EQ(workplace.Clean(GetParam().html, GetParam().dtd).code, GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    Table, CleanUpFailure,
    testing::Values(Failure{"NoRoot", "", "xhtml.dtd", 415},
                    Failure{"Blanks", " \n\t ", "xhtml.dtd", 415},
                    Failure{"Frames", "<html><frameset><frame src=\"b.html\"></frameset></html>",
                            "xhtml.dtd", 415},
                    Failure{"NoDtd", "<p>x</p>", "none.dtd", 402},
                    Failure{"BrokenDtd", "<p>x</p>", "broken.dtd", 402},
                    Failure{"HtmlIsLookedAtFirst", "", "none.dtd", 415}),
    [](const auto& row) { return row.param.name; });

TEST(CleanUp, NeedsADocumentAndAFile) {
  const Workplace workplace;
  const std::string dtd = workplace.dir / "xhtml.dtd";
  XMLBase page;
  EXPECT_EQ(page.HtmlProcess((workplace.dir / "b.html").c_str(), "", "", dtd.c_str()), 416);
  page.Init();
  EXPECT_EQ(page.HtmlProcess((workplace.dir / "none.html").c_str(), "", "", dtd.c_str()), 404);
  EXPECT_EQ(page.HtmlProcess(workplace.dir.String().c_str(), "", "", dtd.c_str()), 404);
  EXPECT_EQ(page.GetXhtmlExternSource(), nullptr);
}

struct Encoded {
  const char* name;
  std::string html;
  std::string text;
};

class Encoding : public testing::TestWithParam<Encoded> {};

TEST_P(Encoding, IsFoundOut) {
  const Workplace workplace;
  const Page page = workplace.Clean(GetParam().html);
  EXPECT_EQ(page.body, "<p>" + GetParam().text + "</p>");
}

std::string Utf16(const std::string& ascii, bool isBigEndian) {
  std::string wide;
  for (const char c : ascii) wide += isBigEndian ? std::string{'\0', c} : std::string{c, '\0'};
  return wide;
}

INSTANTIATE_TEST_SUITE_P(
    Table, Encoding,
    testing::Values(
        Encoded{"Utf8", "<p>\xC3\xA9</p>", "\xC3\xA9"},
        Encoded{"Utf8WithMark", "\xEF\xBB\xBF<p>\xC3\xA9</p>", "\xC3\xA9"},
        Encoded{"Utf8DeclaredOtherwise", "<meta charset=gbk><p>\xC3\xA9</p>", "\xC3\xA9"},
        Encoded{"Utf16LittleEndian", "\xFF\xFE" + Utf16("<p>x</p>", false), "x"},
        Encoded{"Utf16BigEndian", "\xFE\xFF" + Utf16("<p>x</p>", true), "x"},
        Encoded{"Utf16WithoutMark", Utf16("<meta charset=utf-16><p>x</p>", false), "x"},
        Encoded{"Gbk", "<meta charset=\"gbk\"><p>\xC4\xE3\xBA\xC3</p>", "\xE4\xBD\xA0\xE5\xA5\xBD"},
        Encoded{"ShiftJis",
                "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=Shift_JIS\">"
                "<p>\x93\xFA\x96\x7B</p>",
                "\xE6\x97\xA5\xE6\x9C\xAC"},
        Encoded{"Windows1252", "<META CHARSET=windows-1252><p>\x93x\x94</p>",
                "\xE2\x80\x9Cx\xE2\x80\x9D"},
        Encoded{"Latin1IsWindows1252", "<meta charset='iso-8859-1'><p>\x80</p>", "\xE2\x82\xAC"},
        Encoded{"XmlDeclaration", "<?xml version=\"1.0\" encoding=\"GBK\"?><p>\xC4\xE3</p>",
                "\xE4\xBD\xA0"},
        Encoded{"CommentedOut", "<!-- <meta charset=gbk> --><p>caf\xE9</p>", "caf\xC3\xA9"},
        Encoded{"Undeclared", "<p>caf\xE9</p>", "caf\xC3\xA9"},
        Encoded{"UnknownName", "<meta charset=none-such><p>caf\xE9</p>", "caf\xC3\xA9"},
        Encoded{"WideDeclaredInAscii", "<meta charset=unicode><p>caf\xE9</p>", "caf\xC3\xA9"},
        Encoded{"EbcdicDeclaredInAscii", "<meta charset=ibm037><p>caf\xE9</p>", "caf\xC3\xA9"},
        Encoded{"LastLetterHeldBack", "<meta charset=windows-1258><p>\xE9 banana",
                "\xC3\xA9 banana"},
        Encoded{"BrokenUtf8", "<meta charset=utf-8><p>\xC3\xA9\xE9.</p>", "\xC3\xA9\xEF\xBF\xBD."},
        Encoded{"ControlCharacters",
                std::string("<p>a\0b\x01\x0B", 8) + "c\xEF\xBF\xBF&#1;&#0;d</p>", "abcd"}),
    [](const auto& row) { return row.param.name; });

// Pages that nobody would write: the result must be well-formed all the same.
struct Hostile {
  const char* name;
  std::string html;
};

std::string Times(size_t count, const std::string& text) {
  std::string repeated;
  for (size_t i = 0; i < count; ++i) repeated += text;
  return repeated;
}

std::string Crowd() {
  std::string attributes;
  for (int i = 0; i < 50000; ++i) attributes.append(" a").append(std::to_string(i));
  return attributes;
}

class HostilePage : public testing::TestWithParam<Hostile> {};

TEST_P(HostilePage, BecomesWellFormed) {
  const Workplace workplace;
  testing::internal::CaptureStderr();
  const Page page = workplace.Clean(GetParam().html);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(page.code == 0 || page.code == 415) << page.code;
  if (page.code != 0) return;
  xmlDoc* doc = xmlReadMemory(page.markup.data(), static_cast<int>(page.markup.size()), nullptr,
                              nullptr, XML_PARSE_HUGE | XML_PARSE_NONET);
  EXPECT_NE(doc, nullptr) << page.markup.substr(0, 1000);
  xmlFreeDoc(doc);
}

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 65536; ++i) bytes += static_cast<char>(i * 7919 >> (i & 7));
  return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    Table, HostilePage,
    testing::Values(
        Hostile{"Binary", AllBytes()}, Hostile{"BinaryInBody", "<body>" + AllBytes()},
        Hostile{"NameStartsWithADot", "<p><.x .y=1>z</.x></p>"},
        Hostile{"ColonNames", "<:a :b=\"1\"><a:b c:=\"2\">x</a:b>"},
        Hostile{"QuotesInTag", "<p \"foo='bar\" =\"x\" '=>y</p>"},
        Hostile{"NulInAttribute", std::string("<p title=\"a\0b\" cl\0ass=c>x", 25)},
        Hostile{"Unclosed", "<p><b><i title=\"x"}, Hostile{"UnclosedComment", "<p>x<!-- y"},
        Hostile{"LoneAmpersands", "<p title=\"a&b&\">&;&#;&#x;&amp</p>"},
        Hostile{"CdataEnd", "<p>]]&gt; ]]></p>"},
        Hostile{"Instructions", "<?xml version=\"1.0\"?><?a ?\?><?><p><?xml x?></p>"},
        Hostile{"NestedLinksInLists", "<ul><a href=x><ul><a href=y>z</a></ul></a></ul>"},
        Hostile{"MapLosesItsId", "<p id=m><map id=m><center>x<a href=#m>y</a></center><center>z"},
        Hostile{"NestedTags", Times(1000000, "<b>")},
        Hostile{"NestedBlocks", Times(300000, "<div><p>x")},
        Hostile{"NestedAndStrayEnds", Times(100000, "<i>") + Times(100000, "</b>")},
        Hostile{"ManyAttributes", "<p" + Times(20000, " a b='c' id=x") + ">y"},
        Hostile{"ManyAttributesBehindAClosedScript", "<script/><p" + Crowd() + ">y"},
        Hostile{"ManyAttributesBehindAComment", "<!-- --!><p" + Crowd() + ">y"},
        Hostile{"ManyAttributesBehindALongerComment", "<!--><x y='--><p" + Crowd() + ">y"},
        Hostile{"ManyNamesWithoutBlanks", "<p " + Times(2000000, "n") + ">y"},
        Hostile{"DuplicateIds", Times(20000, "<p id=x><a href=#x>y</a></p>")},
        Hostile{"LongLine", "<p>" + Times(5000000, "word word ") + "end"}),
    [](const auto& row) { return row.param.name; });

TEST(HostilePage, LosesNoTextOfALongLineOrDeepNesting) {
  const Workplace workplace;
  const Page line = workplace.Clean("<p>" + Times(1200000, "0123456789") + "end</p>");
  EXPECT_EQ(line.body.size(), 12000000 + std::string("<p>end</p>").size());
  const Page nested = workplace.Clean(Times(2000, "<b>") + "end");
  EXPECT_NE(nested.body.find("end"), std::string::npos);
}

TEST(CrowdedTag, KeepsWhatIsDeclared) {
  const Workplace workplace;
  std::string attributes;
  for (int i = 0; i < 5000; ++i) attributes += " a" + std::to_string(i) + "=" + "\"<v>\"";
  const Page page =
      workplace.Clean("<p" + attributes + " lang=en ID='i' class=c id=j>x</p><p>y</p>");
  EXPECT_EQ(page.body, "<p id=\"i\" class=\"c\" xml:lang=\"en\">x</p><p>y</p>");
}

// Only the parser knows where these begin a tag, and it would take a minute for it.
TEST(CrowdedTag, IsRefusedWhereNothingElseHelps) {
  const Workplace workplace;
  for (const char* before : {"<style><body><p", "<script><noscript", "<p><style></p><p",
                             "<p><!doctype html></x<p", "<!doctype html public '>' '><x y='><p"}) {
    EXPECT_EQ(workplace.Clean(before + Crowd() + ">y").code, 404) << before;
  }
}

int errorsHeard = 0;

void CountGeneric(void* /*context*/, const char* /*format*/, ...) {
  ++errorsHeard;
}

void CountStructured(void* /*context*/, xmlError* /*error*/) {
  ++errorsHeard;
}

TEST(HostsHandlers, AreNotCalledAndRemain) {
  const Workplace workplace;
  int context = 0;
  errorsHeard = 0;
  xmlSetGenericErrorFunc(&context, CountGeneric);
  xmlSetStructuredErrorFunc(&context, CountStructured);
  const Page page = workplace.Clean("<p nonsense=1><font>x</font>&nope; <b></i></p>");
  EXPECT_EQ(page.body.substr(0, 20), "<p><span>x</span>&am");
  EXPECT_EQ(errorsHeard, 0);
  EXPECT_EQ(xmlGenericError, CountGeneric);
  EXPECT_EQ(xmlGenericErrorContext, &context);
  EXPECT_EQ(xmlStructuredError, CountStructured);
  EXPECT_EQ(xmlStructuredErrorContext, &context);
  xmlSetGenericErrorFunc(nullptr, nullptr);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
}

TEST(DirectValidation, WalksATreeOfTheHost) {
  XMLBase page;
  xmlValidCtxt* context = xmlNewValidCtxt();
  EXPECT_EQ(page.xhtmlValidateDtd(context, nullptr, nullptr), 0);
  EXPECT_EQ(page.xhtmlValidateElement(context, nullptr, nullptr), 0);
  XMLBase::PrintWarning(nullptr, nullptr);
  XMLBase::PrintError(nullptr, "");
  xmlFreeValidCtxt(context);
}

}  // namespace
