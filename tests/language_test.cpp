// Host code: what it computes, and what it is told about mistakes.
#include <string>

#include "platform/language/evaluator.h"
#include "tests/fixture.h"

namespace {

struct Language : ::testing::Test {
  Language() { host.load(bundle()); }

  // What a program prints, each line ended by a bar, and then what was wrong, with its place.
  std::string run(const std::string& source) {
    std::string text;
    const language::Surroundings surroundings = {
        [&text](const std::string& line) { text += line + "|"; },
        [](const std::string& name) -> std::string { throw runtime::Error("\"" + name + "\" can't be read."); },
        [](const runtime::Value&, const std::string&) {}};
    try {
      language::run(source, host, surroundings);
    } catch (const language::Error& error) {
      text += std::to_string(error.place.line) + ":" + std::to_string(error.place.column) + " " + error.what();
    }
    return text;
  }
  std::string print(const std::string& expression) { return run("Print " + expression); }

  runtime::Host host;
};

}  // namespace

TEST_F(Language, Computes) {
  const std::pair<const char*, const char*> cases[] = {
      {"1 + 2 * 3 - 4", "3|"},
      {"(1 + 2) * 3", "9|"},
      {"-2 ^ 2, \" \", 2 ^ -1", "-4 0.5|"},
      {"7 / 2, \" \", -7 \\ 2, \" \", -7 Mod 3", "3.5 -3 -1|"},
      {"2147483647 + 1", "-2147483648|"},
      {"&hFF, \" \", &b101, \" \", &o17, \" \", &c0100FF", "255 5 15 65791|"},
      {"1 < 2 And Not 2 >= 3 Or False", "True|"},
      {"Not 1 = 2", "True|"},
      {"6 And 3, \" \", 6 Or 3, \" \", 6 Xor 3", "2 7 5|"},
      {"\"a\" + \"\"\"b\"\"\" = \"a\"\"b\"\"\"", "True|"},
      {"\"abc\" < \"abd\", Nil = Nil, Nil = \"\"", "TrueTrueTrue|"},
      {"Min(3, 1.5, 2), \" \", Max(1, 4), \" \", Abs(-2), \" \", Floor(-1.5), \" \", Round(2.5)", "1.5 4 2 -2 3|"},
      {"RGB(1, 2, 3) = &c010203, \" \", Str(12) + \"!\", LenB(\"\xC3\xA9\")", "True 12!2|"},
      {"Ubound(Array(5, 6))", "1|"}};
  for (const auto& [expression, printed] : cases) EXPECT_EQ(print(expression), printed) << expression;
}

TEST_F(Language, RunsStatements) {
  EXPECT_EQ(run("dim A, b as INTEGER // two\nA = 3.9 ' no fraction\nB = a _\n  + 1\r\nPRINT a, b\nRem the end"), "34|");
  EXPECT_EQ(run("Dim i As Integer\nFor i = 1 To 3\nPrint i\nNext\nFor i = 3 DownTo 1 Step 2\nPrint i\nNext i\nPrint i"),
            "1|2|3|3|1|-1|");
  EXPECT_EQ(run("Dim n As Integer = 1, x As Double\nFor i As Integer = n To 2\nPrint i\nNext\nFor x = 0 To 1 Step "
                "0.5\nPrint x\nNext"),
            "1|2|0|0.5|1|");
  EXPECT_EQ(run("Dim i As Integer\nFor i = 2147483646 To 2147483647\nPrint i\nNext"), "2147483646|2147483647|");
  EXPECT_EQ(run("Dim n As Integer\nWhile True\nn = n + 1\nIf n = 4 Then Exit\nWend\nPrint n"), "4|");
  const std::string choice =
      "If n = 1 Then\nPrint \"one\"\nElseIf n = 2 Then\nPrint \"two\"\nElse\nPrint \"many\"\nEnd If\n"
      "If n = 2 Then Print \"again\" Else Print \"no\"\n";
  EXPECT_EQ(run("Dim n As Integer = 1\n" + choice + "n = 2\n" + choice + "n = 3\n" + choice),
            "one|no|two|again|many|no|");
  // Arrays are shared between variables of a type.
  EXPECT_EQ(run("Dim a(1) As Integer\nDim b() As Integer = a\nb.Append 7\na(0) = 2.5\nPrint Ubound(a), b(0), b(2)"),
            "227|");
  EXPECT_EQ(run("Dim p As Picture = NewPicture(9, 4)\nPrint (p.Width + 1) * 2, p.Graphics.ForeColor"), "200|");
  EXPECT_EQ(run("Dim m As MemoryBlock = NewMemoryBlock(2)\nm.Byte(1) = 300\nPrint m.Size, \" \", m.Byte(1)"), "2 44|");
  // What the plug-in registered, with and without brackets.
  EXPECT_EQ(run("Dim r As New MacPictTVK\nr.CreatePicture 8, 9\nr.penwidth = 3\nPrint r.Width, r.PenWidth, "
                "r.StringWidth(\"\")\n"
                "r.paintpoly Array(0, 0, 5, 5, 0, 5)\nPrint LenB(r.PicHandleData) > 60\nr.Close\nPrint r.PenWidth"),
            "830|True|-1|");
}

TEST_F(Language, TellsWhatIsWrongAndWhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"Print 1 +", "1:10 The end of the line is out of place; a value would work."},
      {"\nPrint \"abc", "2:7 The string has no end; a \" at its end would work."},
      {"x = 1", "1:1 There is no variable \"x\"; Dim x As Integer, or another type, would make one."},
      {"Print 3 # 4", "1:9 \"#\" means nothing here; a name, a number, a string or an operator would work."},
      {"Print &c12", "1:7 \"&c12\" is no number; &cFF8000, &hFF, &b101 or &o17 would work."},
      {"If 1 Then Print 2", "1:4 This is an integer; true, false or a comparison would work."},
      {"While True", "1:11 The end of the line is out of place; wend would work."},
      {"If True Then Exit", "1:14 \"Exit\" is out of place; a loop around it would work."},
      {"Next", "1:1 \"Next\" is out of place; a value would work."},
      {"Dim x As Widget",
       "1:5 There is no type \"Widget\"; Integer, Double, Boolean, String, Color, Variant, Picture, Graphics, "
       "MemoryBlock, "
       "MacPictTVK would work."},
      {"Dim s As String = 4", "1:5 This is an integer; a value of the type string would work."},
      {"Dim a(2) As Integer\na(3) = 1", "2:3 OutOfBoundsException: \"a\" has no element 3; it has 3."},
      {"Print 1 \\ 0", "1:11 Nothing can be divided by 0; any other number would work."},
      {"Print Sqrt(1, 2)", "1:7 Sqrt takes 1 argument, not 2."},
      {"Dim r As New MacPictTVK\nr.PaintHexagon 1", "2:3 The class MacPictTVK has no method \"PaintHexagon\"."},
      {"Dim r As New MacPictTVK\nr.MoveTo 1, \"x\"", "2:3 MoveTo takes integer for \"v\", not a string."},
      {"Dim r As MacPictTVK\nr.Close", "2:1 NilObjectException: this is nil."},
      {"Dim p As Picture = NewPicture(2, 2)\np.GWorldPixelDataTVK = Nil", "2:3 NilObjectException: Memoryblock is nil"},
      {"Dim p As Picture = NewPicture(2, 2)\np.Width = 3", "2:3 \"Width\" can't be set."},
      {"Print Open(\"none\")", "1:7 \"none\" can't be read."}};
  for (const auto& [source, wrong] : cases) EXPECT_EQ(run(source), wrong) << source;
  const std::string deep(100000, '(');
  EXPECT_NE(run("Print " + deep).find("nested too deeply"), std::string::npos);
  EXPECT_NE(run("Print " + std::string(100000, '-') + "1").find("nested too deeply"), std::string::npos);
}
