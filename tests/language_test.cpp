// Host code: what it computes, and what it is told about mistakes.
#include <sstream>
#include <string>
#include <vector>

#include "platform/language/evaluator.h"
#include "tests/fixture.h"

namespace {

using Table = std::vector<std::pair<std::string, std::string>>;

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

struct Language : ::testing::Test {
  Language() { host.load(bundle()); }
  // Whatever a program was, nothing of it is left.
  ~Language() override { EXPECT_EQ(runtime::audit(), before); }

  // What a program prints, each line ended by a bar, and then what was wrong, with its place.
  std::string run(const std::string& source) {
    std::string text;
    const language::Surroundings surroundings = {[&text](const std::string& line) { text += line + "|"; },
                                                 [](const std::string& name) -> std::string {
                                                   if (name == "huge") throw std::bad_alloc();
                                                   if (name == "too long") throw std::length_error(name);
                                                   if (name == "longest") return std::string(64 << 20, 'x');
                                                   throw runtime::Error("\"" + name + "\" can't be read.");
                                                 },
                                                 [](const runtime::Value&, const std::string&) {}};
    try {
      language::run(source, host, surroundings);
    } catch (const language::Error& error) {
      text += std::to_string(error.place.line) + ":" + std::to_string(error.place.column) + " " + error.what();
    }
    return text;
  }
  // The value of an expression, or its mistake without the place.
  std::string valueOf(const std::string& expression) {
    const std::string text = run("Print \"\", " + expression);
    return text.ends_with('|') ? text.substr(0, text.size() - 1) : text.substr(text.find(' ') + 1);
  }
  void check(const Table& programs) {
    for (const auto& [source, result] : programs) EXPECT_EQ(run(source), result) << source.substr(0, 1000);
  }
  void checkValues(const Table& expressions) {
    for (const auto& [expression, value] : expressions) EXPECT_EQ(valueOf(expression), value) << expression;
  }

  std::vector<std::string> before = runtime::audit();
  runtime::Host host;
};

}  // namespace

TEST_F(Language, ReadsLiterals) {
  checkValues({{"0", "0"},
               {"2147483647", "2147483647"},
               {"2147483648", "2.147484e+09"},
               {"1.25", "1.25"},
               {".5", "0.5"},
               {"1e3 / 8", "125"},
               {"15E-1", "1.5"},
               {"2e+2", "200"},
               {"1e308 * 10", "inf"},
               {"&hFf", "255"},
               {"&HFFFFFFFF", "-1"},
               {"&b101", "5"},
               {"&o17", "15"},
               {"&c0100FF", "65791"},
               {"\"\"", ""},
               {"\"a\"\"b' // c\"", "a\"b' // c"},
               {"tRuE", "True"},
               {"False", "False"},
               {"NIL", ""},
               {"5e-324", "4.940656e-324"},
               {"-1e-400", "-0"},
               {"0." + repeated("0", 400) + "1", "0"},
               {"1" + repeated("0", 400) + "e-400", "1"},
               {"1e309", "The number is too large; one up to 1e308 would work."},
               {"1e", "\"e\" is out of place; the end of the line would work."},
               {"&c12345", "\"&c12345\" is no number; &cFF8000, &hFF, &b101 or &o17 would work."},
               {"&b12", "\"&b12\" is no number; &cFF8000, &hFF, &b101 or &o17 would work."},
               {"&h", "\"&h\" is no number; &cFF8000, &hFF, &b101 or &o17 would work."}});
}

TEST_F(Language, Computes) {
  checkValues({{"2147483647 + 1", "-2147483648"},
               {"-2147483647 - 2", "2147483647"},
               {"65536 * 65537", "65536"},
               {"-(-2147483647 - 1)", "-2147483648"},
               {"(-2147483647 - 1) \\ -1", "-2147483648"},
               {"1.5 + 1", "2.5"},
               {"4.0 - 1", "3"},
               {"2 * .5", "1"},
               {"7 / 2", "3.5"},
               {"6 / 3", "2"},
               {"-7 \\ 2", "-3"},
               {"7.9 \\ 2.9", "3"},
               {"-7 Mod 3", "-1"},
               {"7 mod -3", "1"},
               {"2 ^ 10", "1024"},
               {"2 ^ -1", "0.5"},
               {"9 ^ .5", "3"},
               {"-2 ^ 2", "-4"},
               {"2 ^ -1 ^ 2", "0.5"},
               {"+2 - +3", "-1"},
               {"- - 2", "2"},
               {"6 And 3", "2"},
               {"6 Or 3", "7"},
               {"6 Xor 3", "5"},
               {"True And False", "False"},
               {"True Xor True", "False"},
               {"False Or True", "True"},
               {"False And 1", "False"},
               {"True Or 1", "True"},
               {"False Or 1", "This is an integer; true, false or a comparison would work."},
               {"Not Not True", "True"},
               {"Not 1 = 2 And Not False", "True"},
               {"1 < 1", "False"},
               {"1 <= 1.0", "True"},
               {"2 > 2", "False"},
               {"2 >= 2.5", "False"},
               {"\"abc\" < \"abd\"", "True"},
               {"\"b\" > \"abc\"", "True"},
               {"\"a\" <= \"\"", "False"},
               {"\"B\" < \"a\"", "True"},
               {"\"a\" = \"A\"", "False"},
               {"\"ab\" = \"a\" + \"b\"", "True"},
               {"1 = 1.0", "True"},
               {"1 <> 1", "False"},
               {"True = False", "False"},
               {"True <> False", "True"},
               {"Nil = \"\"", "True"},
               {"Nil Is Nil", "True"},
               {"Nil = 0", "False"},
               {"Min(3, 1.5, 2)", "1.5"},
               {"Max(1, 4, 4.0)", "4"},
               {"Max(5)", "5"},
               {"Min(5)", "5"},
               {"Abs(-2)", "2"},
               {"Floor(-1.5)", "-2"},
               {"Ceil(1.2)", "2"},
               {"Round(2.5)", "3"},
               {"Sqrt(2.25) + Sin(0) + Cos(0)", "2.5"},
               {"RGB(1, 2, 259) = &c010203", "True"},
               {"Str(12) + \"!\"", "12!"},
               {"LenB(\"\xC3\xA9\")", "2"},
               {"Ubound(Array(5, 6))", "1"},
               {"Ubound(Array())", "-1"},
               {"\"a\" + 1", "This is a string; a number would work."},
               {"1 < \"a\"", "This is a string; a number would work."},
               {"1 = \"1\"", "an integer and a string can't be compared; two of a kind would work."}});
}

// Two operators in a row mean what they mean with brackets around one of them, for operands that tell which.
TEST_F(Language, BindsOperatorsByPrecedence) {
  const std::string levels = "Or Xor | And | = <> < > <= >= Is | + - | * / \\ Mod | ^";
  const std::vector<std::string> operands[] = {
      {"7", "2", "3"},           {"1e200", "1e200", "1e-200"}, {"1e308", "1e308", "-1e308"}, {"True", "True", "False"},
      {"False", "True", "True"}, {"\"b\"", "\"a\"", "True"},   {"True", "\"b\"", "\"a\""}};
  std::vector<std::pair<std::string, int>> operators;
  std::istringstream words(levels);
  int level = 0;
  for (std::string word; words >> word;) {
    if (word == "|") {
      ++level;
    } else {
      operators.emplace_back(word, level);
    }
  }
  for (const auto& [first, firstLevel] : operators) {
    for (const auto& [second, secondLevel] : operators) {
      bool isTold = first == second && firstLevel < 2;  // for these it doesn't matter
      for (std::size_t i = 0; i < std::size(operands) && !isTold; ++i) {
        const std::string left = operands[i][0] + " " + first + " ";
        const std::string right = " " + second + " " + operands[i][2];
        const std::string firstLeft = valueOf("(" + left + operands[i][1] + ")" + right);
        const std::string firstRight = valueOf(left + "(" + operands[i][1] + right + ")");
        isTold = firstLeft != firstRight;
        if (!isTold) continue;
        EXPECT_EQ(valueOf(left + operands[i][1] + right), firstLevel >= secondLevel ? firstLeft : firstRight)
            << left << right;
      }
      EXPECT_TRUE(isTold) << first << " " << second;
    }
  }
}

TEST_F(Language, RunsStatements) {
  const std::string choice =
      "If n = 1 Then\nPrint \"one\"\nElseIf n = 2 Then\nPrint \"two\"\nElseIf n = 2 Then\nPrint \"never\"\nElse\n"
      "Print \"many\"\nEnd If\nIf n = 2 Then Print \"again\" Else If n = 3 Then Print \"three\" Else Print \"no\"\n";
  check(
      {{"dim A, b as INTEGER // two\nA = 3.9 ' no fraction\nB = a _ \n  + 1\r\nPRINT a, b\nRem the end", "34|"},
       {"Print 1\rPrint 2\r\nPrint 3\n\n\r\nPrint 4", "1|2|3|4|"},
       {"\xEF\xBB\xBFPrint 1 _\r\n+ 2", "3|"},
       {"Remark = 1", "1:1 There is no variable \"Remark\"; Dim Remark As Integer, or another type, would make one."},
       {"Dim i As Integer\nFor i = 1 To 3\nPrint i\nNext\nFor i = 3 DownTo 1 Step 2\nPrint i\nNext I\nPrint i",
        "1|2|3|3|1|-1|"},
       {"Dim n As Integer = 1, x As Double\nFor i As Integer = n To 2\nPrint i\nNext\n"
        "For x = 0 To 1 Step 0.5\nPrint x\nNext\nFor x = 1 To 0\nPrint x\nNext\nFor x = 0 To -1 Step -1\nPrint x\nNext",
        "1|2|0|0.5|1|0|-1|"},
       {"Dim i As Integer\nFor i = 2147483646 To 2147483647\nPrint i\nNext", "2147483646|2147483647|"},
       {"For i As Integer = 1 To 2\nFor j As Integer = 1 To 9\nIf j = 2 Then Exit\nPrint i, j\nNext\nNext", "11|21|"},
       {"Dim n As Integer\nWhile True\nn = n + 1\nIf n = 4 Then\nExit\nEnd If\nWend\nPrint n", "4|"},
       {"Dim n As Integer = 1\n" + choice + "n = 2\n" + choice + "n = 3\n" + choice, "one|no|two|again|many|three|"},
       {"Print (1) + 2, 3\nPrint (4)\nCall Print(5, 6)\nIf True Then Print (7) Else Print 8\nPrint -1",
        "33|4|56|7|-1|"},
       // What isn't looked at is not computed.
       {"If False And 1 \\ 0 = 1 Then Print 1\nIf True Or 1 \\ 0 = 1 Then Print 2", "2|"},
       {"Dim a, b As New MacPictTVK\nPrint a = b, a Is a, a <> b, a = Nil", "FalseTrueTrueFalse|"},
       {"Dim p As Picture = NewPicture(9, 4)\nPrint (p.Width + 1) * 2, p.Graphics.ForeColor", "200|"},
       {"Dim m As MemoryBlock = NewMemoryBlock(2)\nm.Byte(1) = 300\nPrint m.Size, \" \", m.Byte(1)", "2 44|"},
       // Edges keep their low 16 bits, as the sum of left and width does.
       {"Dim p As Picture = NewPicture(9, 4)\np.Graphics.ForeColor = &c010203\n"
        "p.Graphics.FillRect 2147483647, 0, 4, 1\nDim m As MemoryBlock = p.GWorldPixelDataTVK\n"
        "Print m.Byte(9), m.Byte(11), m.Byte(13)",
        "13255|"},
       // What the plug-in registered, with and without brackets.
       {"Dim r As New MacPictTVK\nr.CreatePicture 8, 9\nr.penwidth = 3\nPrint r.Width, r.PenWidth, "
        "r.StringWidth(\"\")\nr.paintpoly Array(0, 0, 5, 5, 0, 5)\nPrint LenB(r.PicHandleData) > 60\nr.Close\n"
        "Print r.PenWidth",
        "830|True|-1|"}});
}

TEST_F(Language, SharesArrays) {
  check(
      {{"Dim a(1) As Integer\nDim b() As Integer = a\nb.Append 7\na(0) = 2.5\nPrint Ubound(a), b(0), b(2)", "227|"},
       {"Dim a(1) As Integer\nDim b() As Double = a\nb(0) = 2.5\nPrint a(0), b(0), a = a, a = b, a Is b",
        "02.5TrueFalseFalse|"},
       {"Dim v As Variant = Array(1, \"b\")\nPrint v(1)\nv = 3\nPrint v", "b|3|"},
       {"Dim a() As Integer = Array(1, 2)\nDim s As String\na.Append s", "3:3 This is a string; a number would work."},
       {"Dim a(1) As MacPictTVK\na(1) = New MacPictTVK\na(1).CreatePicture 8, 9\na(1).PenWidth = 3\n"
        "Print a(1).Width, a(1).PenWidth, a(0) = Nil",
        "83True|"},
       {"Dim a(2) As Integer\nPrint a(2)\na(3) = 1", "0|3:3 OutOfBoundsException: \"a\" has no element 3; it has 3."},
       {"Dim a(2) As Integer\nPrint a(-1)", "2:9 OutOfBoundsException: \"a\" has no element -1; it has 3."},
       {"Dim a(2) As Integer\nPrint a(1, 2)", "2:8 An array takes one index."},
       {"Dim a(2) As Integer\na(1) = \"x\"", "2:2 This is a string; a number would work."},
       {"Dim a(2) As Integer\na = 1", "2:1 This is an integer; an array would work."},
       {"Dim a(2) As Integer\na.Sort", "2:3 An array has no \"Sort\"; Append would work."},
       {"Dim n As Integer\nn(1) = 2", "2:1 \"n\" is no array; only an array has an index."},
       {"Dim a(-2) As Integer", "1:7 An array can't end at -2; 0 to 9999999 would work."},
       // Arrays that hold themselves, or are as deep as anything, end too.
       {"Dim a() As Variant\na.Append a\na.Append NewMemoryBlock(1)\nPrint Ubound(a), a = a(0)\nPrint a(0)",
        "1True|5:1 This is an array; a string or a number would work."},
       {"Dim v As Variant\nFor i As Integer = 1 To 100000\nv = Array(v)\nNext\nPrint Ubound(v)", "0|"}});
}

TEST_F(Language, TellsWhatIsWrongAndWhere) {
  check({{"Print 1 +", "1:10 The end of the line is out of place; a value would work."},
         {"\nPrint \"abc", "2:7 The string has no end; a \" at its end would work."},
         {"\r\n\r\n  x = 1", "3:3 There is no variable \"x\"; Dim x As Integer, or another type, would make one."},
         {"Print 1 _\n  + y",
          "2:5 There is no variable and no function \"y\"; Dim y As Integer, or another type, would make a variable."},
         {"Print 3 # 4", "1:9 \"#\" means nothing here; a name, a number, a string or an operator would work."},
         {"Print \xC3\xA9t",
          "1:7 \"\xC3\xA9\" means nothing here; a name, a number, a string or an operator would work."},
         {"Print \xC3", "1:7 The byte 195 means nothing here; a name, a number, a string or an operator would work."},
         {std::string("Print \0 1", 9),
          "1:7 The byte 0 means nothing here; a name, a number, a string or an operator would work."},
         {"Print 1 \"\x1B[31m" + repeated("\xC3\xA9", 1000) + "\"",
          "1:9 \"\"?[31m" + repeated("\xC3\xA9", 27) + "...\" is out of place; the end of the line would work."},
         {"Print " + repeated("n", 256), "1:7 The name has 256 characters; up to 255 would work."},
         {"Print (1 + 2", "1:13 The end of the line is out of place; ) would work."},
         {"Print 1 Print 2", "1:9 \"Print\" is out of place; the end of the line would work."},
         {"If 1 Then Print 2", "1:4 This is an integer; true, false or a comparison would work."},
         {"If True Then\nPrint 1", "2:8 The end of the line is out of place; end would work."},
         {"While True", "1:11 The end of the line is out of place; wend would work."},
         {"If True Then Exit", "1:14 \"Exit\" is out of place; a loop around it would work."},
         {"Next", "1:1 \"Next\" is out of place; a value would work."},
         {"Dim next As Integer", "1:5 \"next\" is out of place; a variable's name would work."},
         {"For i As Integer = 1 To 2\nNext j", "2:6 \"j\" is out of place; i would work."},
         {"For i As Integer = 1 To 2 Step 0\nNext", "1:32 A step of 0 never ends; any other number would work."},
         {"1 + 2 = 3", "1:3 \"+\" is out of place; a method's name would work."},
         {"3 = 4", "1:1 Nothing can be assigned to this; a variable would work."},
         {"Dim x As Widget",
          "1:5 There is no type \"Widget\"; Integer, Double, Boolean, String, Color, Variant, Picture, Graphics, "
          "MemoryBlock, MacPictTVK would work."},
         {"Dim s As String = 4", "1:5 This is an integer; a value of the type string would work."},
         {"Print 1 + 2 + \"a\"", "1:15 This is a string; a number would work."},
         {"Print \"a\" + \"b\" - 1", "1:11 This is a string; a number would work."},
         {"Print 1 \\ 0", "1:11 Nothing can be divided by 0; any other number would work."},
         {"Print -\"a\"", "1:8 This is a string; a number would work."},
         {"Print Sqrt(1, 2)", "1:7 Sqrt takes 1 argument, not 2."},
         {"Print NewPicture(1, 2, 3, 4)", "1:7 NewPicture takes 2 to 3 arguments, not 4."},
         {"Print Min()", "1:7 Min takes 1 argument or more, not 0."},
         {"Dim r As New MacPictTVK\nr.PaintHexagon 1", "2:3 The class MacPictTVK has no method \"PaintHexagon\"."},
         {"Dim r As New MacPictTVK\nr.MoveTo 1, \"x\"", "2:3 MoveTo takes integer for \"v\", not a string."},
         {"Dim r As MacPictTVK\nr.Close", "2:1 NilObjectException: this is nil."},
         {"Dim p As Picture = NewPicture(2, 2)\nPrint p.Width.Height",
          "2:9 This is an integer, which has no members; an object would work."},
         {"Dim p As Picture = NewPicture(2, 2)\np.GWorldPixelDataTVK = Nil",
          "2:3 NilObjectException: Memoryblock is nil"},
         {"Dim p As Picture = NewPicture(2, 2)\np.Width = 3", "2:3 \"Width\" can't be set."},
         {"Dim m As MemoryBlock = NewMemoryBlock(2)\nm.Byte(2) = 1",
          "2:3 OutOfBoundsException: there is no byte 2 in a block of 2."},
         {"Print Open(\"none\")", "1:7 \"none\" can't be read."},
         {"Print 1\n Print 1, Open(\"huge\")", "1|2:11 OutOfMemoryException: there isn't enough memory for this."},
         {"Print Open(\"too long\")", "1:7 OutOfMemoryException: there isn't enough memory for this."}});
}

// What one value holds has a limit, which is said where a program wants more.
TEST_F(Language, LimitsWhatAValueHolds) {
  const std::string longest = "Dim s As String = Open(\"longest\")\nPrint LenB(s + \"\")\n";
  const std::string limit = " bytes; up to 67108864 would work.";
  const std::string sizes = "; one of a few thousand pixels a side at 1, 2, 4, 8, 16 or 32 would work.";
  check(
      {{longest + "s = \"x\" + s", "67108864|3:9 OutOfMemoryException: A string can't have 67108865" + limit},
       {longest + "Print s, 23", "67108864|3:1 OutOfMemoryException: A string can't have 67108866" + limit},
       {longest + "Save 1, s", "67108864|3:1 A file's name can't have 67108864 bytes; up to 4095 would work."},
       {"Dim s As String = \"0123456789abcdef\"\nWhile True\ns = s + s\nWend",
        "3:7 OutOfMemoryException: A string can't have 134217728" + limit},
       {"Dim a(9999999) As Boolean\na.Append True", "2:3 An array can't end at 10000000; 0 to 9999999 would work."},
       {"Print NewMemoryBlock(268435457)", "1:7 A block of 268435457 bytes can't be made; 0 to 268435456 would work."},
       {"Dim m As MemoryBlock = NewMemoryBlock(268435456)\nPrint m.Byte(268435455)", "0|"},
       // Numbers that would do if their low 16 bits were all.
       {"Print NewPicture(65538, 2)", "1:7 There can't be a picture of 65538x2 pixels at depth 32" + sizes},
       {"Print NewPicture(2, 65538)", "1:7 There can't be a picture of 2x65538 pixels at depth 32" + sizes},
       {"Print NewPicture(2, 2, 65544)", "1:7 There can't be a picture of 2x2 pixels at depth 65544" + sizes}});
}

// Chains may be as long as they like, and what stands in something else as deep as a sentence says.
TEST_F(Language, TakesLongAndDeepPrograms) {
  const std::string limit = " is nested too deeply; up to 200 levels would work.";
  check({{"Print 0" + repeated(" + 1", 20000), "20000|"},
         {"Print NewPicture(1, 1)" + repeated(".Graphics", 20000),
          "1:33 The class graphics has no property \"Graphics\"."},
         {"If False Then\n" + repeated("ElseIf False Then\n", 1000) + "Else\nPrint 1\nEnd If", "1|"},
         {"Print " + repeated("(", 198) + "1" + repeated(")", 198), "1|"},
         {"Print " + repeated("(", 100000), "1:207 \"(\"" + limit},
         {"Print " + repeated("-", 100000) + "1", "1:205 \"-\"" + limit},
         {"Print " + repeated("Not ", 100000) + "True", "1:799 \"Not\"" + limit},
         {"Print " + repeated("Abs(", 100000), "1:803 \"Abs\"" + limit},
         {repeated("If True Then ", 12000) + "Print 1", "1:2591 \"True\"" + limit},
         {repeated("If False Then Print 1 Else ", 12000) + "Print 2", "1:5367 \"1\"" + limit},
         {repeated("While True\n", 12000), "200:7 \"True\"" + limit}});
}
