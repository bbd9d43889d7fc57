"""Finds where one-line faults can be made in C++ sources, by clang's syntax tree, and puts them in."""
import dataclasses
import pathlib
import re
import subprocess

from clang import cindex
from clang.cindex import CursorKind as Kind

BINARY = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
          "+": "-", "-": "+", "*": "+", "/": "*", "%": "*", "&": "|", "|": "&", "^": "|", "<<": ">>", ">>": "<<"}
ASSIGNMENT = {"+=": "-=", "-=": "+=", "*=": "+=", "/=": "*=", "%=": "*=", "&=": "|=", "|=": "&=", "^=": "|=",
              "<<=": ">>=", ">>=": "<<="}
UNARY = {"!": "", "-": "", "~": "", "++": "--", "--": "++"}
EXTREMES = {"std::min": "std::max", "std::max": "std::min"}
SYMMETRIC = {"intersect", "unite"}  # whose arguments may trade places
NUMBER = re.compile(r"(0[xX][\da-fA-F']+|0[bB][01']+|\d[\d']*)([uUlLzZ]*)")
FRACTION = re.compile(r"(\d+\.\d*)([fF]?)")
# A row of a table of macros, and the numbers in it.
ROW = re.compile(r"^[A-Z_]+\(.*\)$")
ROW_NUMBER = re.compile(r"""(?<![\w."'])(?:0x[\da-fA-F]+|\d+)(?![\w."'])""")

STATEMENTS = {Kind.COMPOUND_STMT, Kind.IF_STMT, Kind.FOR_STMT, Kind.WHILE_STMT, Kind.CXX_FOR_RANGE_STMT, Kind.CASE_STMT,
              Kind.DEFAULT_STMT}
DECLARATIONS = {Kind.VAR_DECL, Kind.FIELD_DECL, Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.FUNCTION_TEMPLATE,
                Kind.CONSTRUCTOR, Kind.CONVERSION_FUNCTION}


@dataclasses.dataclass
class Fault:
    file: str
    line: int        # the first of what is replaced
    start: int       # where that is, in bytes
    end: int
    was: str         # as a reader is told
    put: str
    text: str        # what takes its place
    type: str = ""   # void, bool, or that of what was there
    fixed: bool = False  # must be compiled alone: it stands where the compiler wants a constant
    line_text: str = ""
    number: int = 0

    def key(self):
        return self.file, self.line_text, self.was, self.put


def on_one_line(text):
    """The same code on one line, without its comments."""
    code = re.sub(r'("(?:\\.|[^"\\\n])*")|//[^\n]*', lambda found: found[1] or "", text)
    return " ".join(code.split())


def number_beside(text):
    """What a number can be instead of the one that is written: one more and one less."""
    if found := FRACTION.fullmatch(text):
        return [f"{float(found[1]) + step}{found[2]}" for step in (1, -1) if float(found[1]) + step >= 0]
    if not (found := NUMBER.fullmatch(text)):
        return []
    digits = found[1].replace("'", "")
    value = int(digits, 8) if re.fullmatch("0[0-7]+", digits) else int(digits, 0)
    form = "0x{:X}" if digits[:2] in ("0x", "0X") else "{}"
    return [form.format(value + step) + found[2] for step in (1, -1) if value + step >= 0]


class Finder:
    """Walks the tree of one file."""

    def __init__(self, root, file, arguments):
        self.file = file
        self.source = (root / file).read_bytes()
        self.lines = self.source.decode("utf-8", "replace").split("\n")
        self.name = str(root / file)
        self.found = []
        unit = cindex.Index.create().parse(self.name, arguments)
        errors = [error for error in unit.diagnostics if error.severity >= cindex.Diagnostic.Error]
        if errors:
            raise ValueError(f"clang can't read {file}: {errors[0]}")
        for node in unit.cursor.get_children():
            if node.location.file and node.location.file.name == self.name:
                self.visit(node, None, False)

    def text(self, start, end):
        return self.source[start:end].decode("utf-8", "replace")

    def span(self, node):
        return node.extent.start.offset, node.extent.end.offset

    def add(self, span, was, put, text, type="", fixed=False):
        line = self.source.count(b"\n", 0, span[0]) + 1
        self.found.append(Fault(self.file, line, *span, on_one_line(was), on_one_line(put), on_one_line(text), type, fixed,
                                self.lines[line - 1].strip()))

    def visit(self, node, parent, fixed):
        start, end = self.span(node)
        in_file = node.extent.start.file and node.extent.start.file.name == self.name
        children = list(node.get_children())
        if in_file and end > start:
            if node.kind in DECLARATIONS and re.match(r"[^({=]*\bconstexpr\b", self.text(start, end)):
                fixed = True
            fixed = fixed or node.kind in (Kind.ENUM_CONSTANT_DECL, Kind.STATIC_ASSERT)
            self.look(node, parent, children, fixed)
        for i, child in enumerate(children):
            self.visit(child, node if node.kind != Kind.UNEXPOSED_EXPR else parent,
                       fixed or (node.kind == Kind.CASE_STMT and i == 0))

    def look(self, node, parent, children, fixed):
        span = start, end = self.span(node)
        text = self.text(start, end)
        kind = node.kind
        if kind in (Kind.INTEGER_LITERAL, Kind.FLOATING_LITERAL):
            for put in number_beside(text):
                self.add(span, text, put, put, fixed=fixed)
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR and text in ("true", "false"):
            put = "false" if text == "true" else "true"
            self.add(span, text, put, put, fixed=fixed)
        elif kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2:
            self.operator(span, children, BINARY | ASSIGNMENT, fixed)
        elif kind == Kind.UNARY_OPERATOR and len(children) == 1:
            inner = self.span(children[0])
            for sign, at in ((self.text(start, inner[0]).strip(), 0), (self.text(inner[1], end).strip(), 1)):
                if sign in UNARY:
                    operand = self.text(*inner)
                    put = UNARY[sign] + operand if at == 0 else operand + UNARY[sign]
                    self.add(span, text, put, f"({put})", "bool" if sign == "!" else "", fixed)
        elif kind == Kind.CALL_EXPR:
            self.call(node, parent, span, fixed)
        if kind in (Kind.IF_STMT, Kind.WHILE_STMT, Kind.CONDITIONAL_OPERATOR):
            self.condition(children, "?" if kind == Kind.CONDITIONAL_OPERATOR else ")", fixed)
        if kind in STATEMENTS:
            self.statements(kind, children, fixed)

    def operator(self, span, operands, signs, fixed):
        left, right = (self.span(operand) for operand in operands)
        sign = self.text(left[1], right[0]).strip()
        if left[0] == span[0] and right[1] == span[1] and sign in signs:
            a, b = self.text(*left), self.text(*right)
            whole = f"({a}) {signs[sign]} ({b})" if sign in BINARY else f"{a} {signs[sign]} {b}"
            self.add(span, f"{a} {sign} {b}", f"{a} {signs[sign]} {b}", f"({whole})", fixed=fixed)

    def call(self, node, parent, span, fixed):
        """Two arguments beside each other whose types are alike trade places; the least becomes the greatest."""
        arguments = [argument for argument in node.get_arguments()
                     if argument and span[0] <= self.span(argument)[0] < self.span(argument)[1] <= span[1]]
        if node.spelling in ("operator==", "operator!=") and len(arguments) == 2:
            return self.operator(span, arguments, BINARY, fixed)
        if not arguments or node.spelling in SYMMETRIC or not self.text(span[0], self.span(arguments[0])[0]).rstrip().endswith("("):
            return
        text = self.text(*span)
        for name, other in EXTREMES.items():
            if text.startswith(name) and node.spelling == name.removeprefix("std::"):
                return self.add(span, text, other + text[len(name):], other + text[len(name):], fixed=fixed)
        isDeclared = parent is not None and parent.kind in (Kind.VAR_DECL, Kind.CONSTRUCTOR)
        for one, other in zip(arguments, arguments[1:]):
            types = [re.sub(r"\bconst\b|&", "", a.type.get_canonical().spelling).strip() for a in (one, other)]
            a, b = self.span(one), self.span(other)
            texts = [self.text(*a), self.text(*b)]
            if types[0] != types[1] or not types[0] or "dependent" in types[0] or texts[0] == texts[1] or a[1] > b[0]:
                continue
            swapped = texts[1] + self.text(a[1], b[0]) + texts[0]
            if isDeclared:  # its name is no expression
                self.add((a[0], b[1]), self.text(a[0], b[1]), swapped, swapped, fixed=True)
            else:
                whole = self.text(span[0], a[0]) + swapped + self.text(b[1], span[1])
                self.add(span, text, whole, whole, fixed=fixed)

    def condition(self, children, follows, fixed):
        for child in children:
            span = self.span(child)
            if not (child.kind.is_expression() and self.source[span[1]:].lstrip().startswith(follows.encode())):
                continue
            text = self.text(*span)
            inner = self.inner(child)
            isEquality = inner.kind in (Kind.BINARY_OPERATOR, Kind.CALL_EXPR) and re.search("[!=]=", text) and \
                not re.search("&&|[|][|]", text)
            if not isEquality and not text.startswith("!"):
                self.add(span, text, f"!({text})", f"!({text})", "bool", fixed)
            return

    def statements(self, kind, children, fixed):
        for child in children[-1:] if kind in (Kind.FOR_STMT, Kind.CASE_STMT) else children:
            span = self.span(child)
            inner = self.inner(child)
            isCall = inner.kind == Kind.CALL_EXPR or inner.kind == Kind.COMPOUND_ASSIGNMENT_OPERATOR or (
                inner.kind == Kind.BINARY_OPERATOR and re.match(r".*[^=!<>]=[^=]", self.text(*span), re.DOTALL))
            if isCall and span[1] > span[0] and self.source[span[1]:].lstrip().startswith(b";"):
                self.add(span, self.text(*span) + ";", ";", "void()", "void", fixed)

    def inner(self, node):
        """What stands in wrappings that take no text."""
        while node.kind == Kind.UNEXPOSED_EXPR and len(children := list(node.get_children())) == 1:
            node = children[0]
        return node


def in_rows(root, file):
    """The faults of a table of macros: a row that is missing, and numbers beside those that are there."""
    found, at = [], 0
    for number, line in enumerate((root / file).read_text(encoding="utf-8").split("\n"), 1):
        if ROW.match(line):
            found.append(Fault(file, number, at, at + len(line.encode()), line, "", "", fixed=True, line_text=line))
            for match in ROW_NUMBER.finditer(line):
                for put in number_beside(match[0]):
                    start = at + len(line[:match.start()].encode())
                    found.append(Fault(file, number, start, start + len(match[0]), match[0], put, put, fixed=True,
                                       line_text=line))
        at += len(line.encode()) + 1
    return found


def find(work):
    """All faults of one file."""
    root, file, arguments = work
    if file.endswith(".def"):
        return in_rows(root, file)
    if not cindex.Config.loaded:
        library = subprocess.run(["llvm-config-14", "--libdir"], check=True, capture_output=True, text=True).stdout.strip()
        cindex.Config.set_library_path(library)
    found = {}
    for fault in Finder(root, file, arguments).found:
        found.setdefault((fault.start, fault.end, fault.text), fault)
    return list(found.values())


def replaced(source, fault):
    """The source with one fault instead of what was there."""
    return source[:fault.start] + fault.text.encode() + source[fault.end:]


def switched(source, chosen):
    """The source with all of the chosen faults, each behind its switch, on the lines where they were."""
    places = {}
    for fault in chosen:
        places.setdefault((fault.start, fault.end), []).append(fault)
    pending = sorted(places, key=lambda place: (place[0], -place[1]))

    def render(start, end):
        out, at = b"", start
        while pending and pending[0][0] < end:
            place = pending.pop(0)
            out += source[at:place[0]]
            here = places[place]
            kind = next((fault.type for fault in here if fault.type), "")
            body = render(*place).decode()
            for fault in reversed(here):
                body = f"faults::on({fault.number}) ? {kind}({fault.text}) : {kind}({body})"
            out += f"({body})".encode()
            at = place[1]
        return out + source[at:end]

    return render(0, len(source))


def sources(root, rooms):
    return sorted(str(path.relative_to(root)) for room in rooms for path in (root / room).rglob("*")
                  if path.suffix in (".cpp", ".h", ".def"))


def code_lines(root, file):
    """How many lines of a file are neither blank nor comment."""
    lines = (line.strip() for line in (root / file).read_text(encoding="utf-8").split("\n"))
    return sum(1 for line in lines if line and not line.startswith("//"))
