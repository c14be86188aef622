// Formula text to tree and back. Expected shapes: the spreadsheet's operator precedence and the notation of
// its files, worked by hand.
#include <gtest/gtest.h>

#include "sheet/formula/Parser.h"

namespace varnex3::sheet {
namespace {

constexpr CellAddress kHere{0, 4, 2}; // C5

Tree parsed(const std::string& text, const CellAddress& here = kHere)
{
    ParseResult result = parseFormula(text, here);
    if (const auto* error = std::get_if<ParseError>(&result)) {
        ADD_FAILURE() << text << ": " << error->message << " at " << error->position;
        return parsed("=0");
    }
    return std::get<Tree>(std::move(result));
}

/// A node as nested words, to show the shape without the notation under test.
std::string shape(const Tree& t, const Node& n)
{
    constexpr const char* kKinds[] = {"num",   "text",  "bool",  "error", "_",     "array", "ref",
                                      "name",  "table", "ext",   "call",  "apply", "un",    "bin",
                                      "range", "union", "isect", "spill", "single"};
    constexpr const char* kOps[] = {"",   "+", "-",  "*", "/",  "^",  "&",  "=",
                                    "<>", "<", "<=", ">", ">=", "+u", "-u", "%"};
    std::string s = kKinds[static_cast<std::size_t>(n.kind)];
    if (n.op != Operator::None) s = kOps[static_cast<std::size_t>(n.op)];
    if (n.kind == NodeKind::Number || n.kind == NodeKind::Boolean)
        s += ' ' + std::to_string(static_cast<int>(n.number));
    for (const std::int32_t text : {n.sheet, n.lastSheet, n.text, n.text2})
        if (text >= 0) s += ' ' + t.texts[static_cast<std::size_t>(text)];
    if (n.kind == NodeKind::Failure) s += ' ' + std::string(failureText(n.failure));
    if (n.kind == NodeKind::Reference) s += ' ' + std::to_string(static_cast<int>(n.extent));
    for (std::uint32_t i = 0; i < n.childCount; ++i) s += ' ' + shape(t, t.child(n, i));
    return s.find(' ') == std::string::npos ? s : '(' + s + ')';
}

TEST(Parser, BuildsTheTreeThatPrecedenceAsksFor)
{
    const std::pair<const char*, const char*> cases[] = {
        {"=-2^2", "(^ (-u (num 2)) (num 2))"}, // the sign binds tighter: 4
        {"=2^-1", "(^ (num 2) (-u (num 1)))"},
        {"=2^3^4", "(^ (^ (num 2) (num 3)) (num 4))"},
        {"=1+2*3", "(+ (num 1) (* (num 2) (num 3)))"},
        {"=1-2-3", "(- (- (num 1) (num 2)) (num 3))"},
        {"=2^5%", "(^ (num 2) (% (num 5)))"},
        {"=1&2+3=4", "(= (& (num 1) (+ (num 2) (num 3))) (num 4))"},
        {"=1<=2<>3", "(<> (<= (num 1) (num 2)) (num 3))"},
        {"=+-1", "(+u (-u (num 1)))"},
        {"=-A1:B2 B1:C1", "(-u (isect (ref 1) (ref 1)))"},
        {"=SUM((A1,B1:B2),C1)", "(call SUM (union (ref 0) (ref 1)) (ref 0))"},
        {"=(A1 B1,C1)", "(union (isect (ref 0) (ref 0)) (ref 0))"},
        {"=SUM(A1~B1:B2,C1)", "(call SUM (union (ref 0) (ref 1)) (ref 0))"},
        {"=A1,B1", "(union (ref 0) (ref 0))"}, // print areas have no parentheses
        {"=INDEX(A1,1):B2", "(range (call INDEX (ref 0) (num 1)) (ref 0))"},
        {"=A1:B2#", "(range (ref 0) (spill (ref 0)))"},
        {"=@A1:A9+1", "(+ (single (ref 1)) (num 1))"},
        {"=SUM (A1)", "(call SUM (ref 0))"},
        {"=A1 (B1)", "(isect (ref 0) (ref 0))"},
        {" = \r\n 1 \t+ 2\n", "(+ (num 1) (num 2))"},
        {"1", "(num 1)"},
    };
    for (const auto& [text, want] : cases) {
        const Tree t = parsed(text);
        EXPECT_EQ(shape(t, t.root()), want) << text;
    }
}

TEST(Parser, TellsNamesCellsFunctionsAndSheetsApart)
{
    const std::pair<const char*, const char*> cases[] = {
        {"=XFD1048576", "(ref 0)"},
        {"=XFE1", "(name XFE1)"},         // one column too far
        {"=A1048577", "(name A1048577)"}, // one row too far
        {"=A1.x", "(name A1.x)"},
        {"=LOG10(1)", "(call LOG10 (num 1))"},
        {"=A:C", "(ref 2)"},
        {"=$1:3", "(ref 3)"},
        {"=A:B:C1", "(range (ref 2) (ref 0))"},
        {"=Größe_1.\\a?", "(name Größe_1.\\a?)"},
        {"=true", "(bool 1)"},
        {"=False()", "(bool 0)"},
        {"=TRUE1x", "(name TRUE1x)"},
        {"='My ''Sheet'!A1", "(ref My 'Sheet 0)"},
        {"=Sheet1!A:C", "(ref Sheet1 2)"},
        {"=Q1!A1", "(ref Q1 0)"},
        {"=Sheet1:Sheet3!A1:B2", "(ref Sheet1 Sheet3 1)"},
        {"='a b:c d'!A1", "(ref a b c d 0)"},
        {"=Sheet1!A1:Sheet1!B2", "(range (ref Sheet1 0) (ref Sheet1 0))"},
        {"=Sheet1!rate", "(name Sheet1 rate)"},
        {"=Sheet1!#REF!", "(error #REF!)"},
        {"=#REF!$A$1:B2", "(error #REF!)"}, // the sheet is gone
        {"=A1+#n/a", "(+ (ref 0) (error #N/A))"},
        {"=[1]Sheet!A1:B2", "(ext [1]Sheet!A1:B2)"},
        {"='C:\\d\\[b.xlsx]S 1'!x+1", "(+ (ext 'C:\\d\\[b.xlsx]S 1'!x) (num 1))"},
        {"=[1]!Name", "(ext [1]!Name)"},
        {"=[0]!Name", "(name Name)"}, // this very book
        {"=_xlfn.XLOOKUP(1,,2)", "(call XLOOKUP (num 1) _ (num 2))"},
        {"=_xlfn._xlws.sort(A1)", "(call SORT (ref 0))"},
        {"=_xlfn.LET(_xlpm.a,1,_xlpm.a)", "(call LET (name a) (num 1) (name a))"},
        {"=_xlfn.ANCHORARRAY(A1)", "(spill (ref 0))"},
        {"=_xlfn.SINGLE(A1:A3)", "(single (ref 1))"},
        {"=NoSuchFunction(1)", "(call NOSUCHFUNCTION (num 1))"},
        {"=F()", "(call F)"},
        {"=F(,)", "(call F _ _)"},
        {"=LAMBDA(x,x+1)(3)", "(apply (call LAMBDA (name x) (+ (name x) (num 1))) (num 3))"},
        {"=LAMBDA(_xlpm.x,_xlop.y1,1)", "(call LAMBDA (name x) (name y1) (num 1))"},
        {"=MAP(A1,_xleta.SUM)", "(call MAP (ref 0) (name SUM))"},
        {"=Table1[Col 1]", "(table Table1 Col 1)"},
        {"=T[[#This Row],[a]]", "(table T [#This Row],[a])"},
        {"=[@Col]*2", "(* (table @Col) (num 2))"},
        {"=T[a]:T[b]", "(range (table T a) (table T b))"},
    };
    for (const auto& [text, want] : cases) {
        const Tree t = parsed(text);
        EXPECT_EQ(shape(t, t.root()), want) << text;
    }
}

TEST(Parser, StoresReferencesRelativeToTheCell)
{
    const Tree t = parsed("=A$1:$D7");
    EXPECT_EQ(t.root().first, (CellRef{0, -2, true, false}));
    EXPECT_EQ(t.root().last, (CellRef{2, 3, false, true}));
    const Tree filled = parsed("=B$1:$D9", {0, 6, 3}); // filled two down and one to the right
    EXPECT_EQ(filled, t);
    EXPECT_EQ(hashOf(filled), hashOf(t));
    EXPECT_NE(hashOf(parsed("=A1:$D7")), hashOf(t));
    EXPECT_EQ(formulaText(t, {0, 6, 3}), "=B$1:$D9");
    EXPECT_EQ(formulaText(t, {0, 6, 0}), "=#REF!"); // column A would move left of the sheet
    EXPECT_EQ(formulaText(parsed("=A1+1"), {0, kMaxRows - 1, 2}), "=A1048572+1");
}

TEST(Parser, ReadsConstants)
{
    EXPECT_EQ(parsed("=1.5E-3").root().number, 0.0015);
    EXPECT_EQ(parsed("=.5").root().number, 0.5);
    EXPECT_EQ(parsed("=1e-400").root().number, 0.0);
    const Tree t = parsed("=\"a\"\"b\"");
    EXPECT_EQ(t.texts[static_cast<std::size_t>(t.root().text)], "a\"b");
    const Tree array = parsed("={1,-2.5 ; \"t\",TRUE;#N/A,+3}");
    EXPECT_EQ(
        array.arrays[0],
        Value::array(3, 2, {Value(1), Value(-2.5), Value("t"), Value(true), Value(Failure::NA), Value(3)}));
}

TEST(Parser, PrintsWhatItReads)
{
    // Written in the printer's own style: each must come back letter for letter.
    const char* const same[] = {
        "=x^2",
        "=-2^2",
        "=-(2^2)",
        "=(1+2)*3",
        "=1-(2-3)",
        "=-1%+-(5%)",
        "=-(5%)",
        "=2^(3^4)",
        "=1=2=3",
        "=1=(2=3)",
        "=A1:(B1)",
        "=(A1,B1)+1",
        "=SUM((A1,B1),C1)",
        "=A1,B1 C1",
        "=A1 (B1 C1)",
        "=A1 (B1,C1)",
        "=(x) (B1,C1)",
        "=INDEX(A1,1):INDEX(A1,2)",
        "=$A:C+1:$3",
        "=A1#+@B1:B2",
        "=(A1:B2)#",
        "='It''s'!A1+'1'!A1+'A1'!A1",
        "='a b:c'!A1",
        "=Sheet1!A1:B2",
        "=(x):Sheet1!A1",
        "=T[[#This Row],[a '[b']]]",
        "={1,-2;\"x\"\"\",TRUE}",
        "=IF(A1,,F(,))",
        "=LAMBDA(x,x)(1)(2)",
        "=S!f(1)",
        "=0.1+1E+300",
        "=\"\"\"\"&#N/A",
        "=[1]S!A1:B2+[1]!n",
        "=F()<>TRUE",
        "=LAMBDA(x,[y],[y]+y)(1)",
        "=SUM(!$A$1:B2,x:!A1,A1 !B1)",
        "=((1))+(A1)-(-(2))",
        "=(SUM((A1)))",
    };
    for (const char* text : same) EXPECT_EQ(formulaText(parsed(text), kHere), text);
    const std::pair<const char*, const char*> tidied[] = {
        {"= ( ( 1 ) + ((2)) )", "=((1)+((2)))"},
        {"=SUM(A1~B1)", "=SUM((A1,B1))"}, // a comma would separate arguments
        {"=(A1,B1+1)", "=((A1,B1)+1)"},
        {"=A :B", "=A:(B)"}, // two names, not two columns
        {"=f() (A1)", "=F() (A1)"},
        {"=@A1:@B1", "=@A1:(@B1)"},
        {"=_xlfn.SINGLE(A1)", "=@A1"},
        {"=true()", "=TRUE"},
        {"=_xlpm.x1", "=_xlpm.x1"}, // the variable x1 must not become the cell X1
    };
    for (const auto& [text, want] : tidied) {
        EXPECT_EQ(formulaText(parsed(text), kHere), want);
        EXPECT_EQ(parsed(want), parsed(text)) << text;
    }
}

TEST(Parser, RefusesWithPosition)
{
    struct Case {
        std::string text;
        std::size_t position;
    };
    const auto nested = [](int n) {
        return "=" + std::string(static_cast<std::size_t>(n), '(') + "1" +
               std::string(static_cast<std::size_t>(n), ')');
    };
    const Case cases[] = {
        {"", 0},
        {"=", 1},
        {"=1+", 3},
        {"=1 2", 3},
        {"=1,2", 2},    // a comma joins references only
        {"=SUM(A1", 4}, // the parenthesis that is not closed
        {"=A1)", 3},
        {"=\"abc", 1},
        {"='abc!A1", 1},
        {"=''!A1", 1},
        {"={1,2;3}", 1}, // rows of different length
        {"={A1}", 2},
        {"=#FOO!", 1},
        {"=1e999", 1},
        {"=A1:5", 3},
        {"=T[[a]", 2},
        {"=()", 2},
        {nested(257), 257},
        {"=" + std::string(300, '-') + "1", 257},
        {std::string(32768, ' '), 32767},
    };
    for (const Case& c : cases) {
        const ParseResult result = parseFormula(c.text, kHere);
        ASSERT_TRUE(std::holds_alternative<ParseError>(result)) << c.text;
        EXPECT_EQ(std::get<ParseError>(result).position, c.position) << c.text.substr(0, 40);
        EXPECT_FALSE(std::get<ParseError>(result).message.empty()) << c.text.substr(0, 40);
    }
    EXPECT_TRUE(std::holds_alternative<Tree>(parseFormula(nested(256), kHere)));
    std::string chain = "=1"; // long, but not deep
    while (chain.size() < 32000) chain += "+1";
    EXPECT_EQ(formulaText(parsed(chain), kHere), chain);
}

TEST(Parser, ReadsItemsOfTables)
{
    struct Case {
        const char* text;
        bool headers, data, totals, thisRow;
        const char *first, *last;
    };
    const Case cases[] = {
        {"", false, true, false, false, "", ""},
        {"Net Price", false, true, false, false, "Net Price", "Net Price"},
        {"@Col", false, false, false, true, "Col", "Col"},
        {"@[a]:[b]", false, false, false, true, "a", "b"},
        {"@", false, false, false, true, "", ""},
        {"#All", true, true, true, false, "", ""},
        {"[#Headers], [#Data],[a '[x']]:[b]", true, true, false, false, "a [x]", "b"},
        {"[#this row],[''#]", false, false, false, true, "'#", "'#"},
    };
    for (const Case& c : cases) {
        const auto items = parseTableItems(c.text);
        ASSERT_TRUE(items) << c.text;
        EXPECT_EQ(std::tie(items->headers, items->data, items->totals, items->thisRow),
                  std::tie(c.headers, c.data, c.totals, c.thisRow))
            << c.text;
        EXPECT_EQ(items->firstColumn, c.first) << c.text;
        EXPECT_EQ(items->lastColumn, c.last) << c.text;
    }
    for (const char* bad : {"[a],[b]", "[#Nothing]", "[a]:", "a]", "[]"})
        EXPECT_FALSE(parseTableItems(bad)) << bad;
}

TEST(Parser, WritesAndReadsA1)
{
    EXPECT_EQ(parseA1("$C$4:a2"), (Area{0, 1, 0, 3, 2}));
    EXPECT_EQ(parseA1("B:B"), (Area{0, 0, 1, kMaxRows - 1, 1}));
    for (const char* bad : {"", "A0", "A1 ", "A1:", "S!A1", "AAAA1", "1", "A1:B"})
        EXPECT_FALSE(parseA1(bad)) << bad;
    EXPECT_EQ(a1Text(CellAddress{0, kMaxRows - 1, kMaxColumns - 1}, true), "$XFD$1048576");
    EXPECT_EQ(a1Text(CellAddress{0, 0, 26}), "AA1");
    EXPECT_EQ(a1Text(Area{0, 0, 0, 2, 2}, true), "$A$1:$C$3");
    EXPECT_EQ(a1Text(Area{0, 0, 0, kMaxRows - 1, 2}), "A:C");
    EXPECT_EQ(a1Text(Area{0, 4, 0, 4, kMaxColumns - 1}, true), "$5:$5");
    EXPECT_EQ(a1Text(Area{0, 1, 1, 1, 1}), "B2");
    const std::pair<const char*, const char*> sheets[] = {
        {"Data_1", "Data_1"}, {"My Sheet", "'My Sheet'"}, {"It's", "'It''s'"},
        {"2020", "'2020'"},   {"AB12", "'AB12'"},         {"RC", "'RC'"},
        {"R1c2", "'R1c2'"},   {"Übersicht", "Übersicht"}, {"a-b", "'a-b'"},
        {"true", "'true'"},
    };
    for (const auto& [name, want] : sheets) EXPECT_EQ(quotedSheetName(name), want);
}

} // namespace
} // namespace varnex3::sheet
