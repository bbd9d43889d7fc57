"""Looks at the linked bundle for the Mac: what it exports, imports from whom, runs at load, and holds where."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import mac_bundle

# What the host reads from the bundle's data: a class is 29 words of 4 bytes, a method's row takes 24 bytes and a property's
# 48. A table has as many rows as its source.
CLASSES = ("graphicseClass", "pictureClass", "PICTClass")
TABLES = {"graphicsMethods": 24, "pictureMethods": 24, "globalMethodsTVK": 24, "PICTMethods": 24, "PICTProperties": 48}
failures = []


def expect(holds, sentence):
    if not holds:
        failures.append(sentence)


def rows(table):
    """How many rows the plug-in's source gives a table."""
    for source in pathlib.Path("plugin").rglob("*.cpp"):
        found = re.search(table + r"\[\w*\] = \{\n(.*?)\n\};", source.read_text(encoding="utf-8"), re.DOTALL)
        if found:
            return len(re.findall(r"^ {4}[{A-Z]", found[1], re.MULTILINE))
    raise SystemExit(f"check-target: no source has the table {table}")


def tool(*words):
    return subprocess.run(words, check=True, capture_output=True, text=True).stdout


def check_head(bundle):
    head = tool("llvm-objdump-14", "--macho", "--private-headers", bundle)
    expect(re.search(r"MH_MAGIC\s+I386\s+ALL\s+0x00\s+BUNDLE", head), "it is no bundle for i386")
    expect("TWOLEVEL" in head, "its imports don't say whose they are")
    expect(re.search(r"cmd LC_VERSION_MIN_MACOSX\n\s*cmdsize 16\n\s*version 10\.6\n", head), "it isn't for Mac OS X 10.6")
    for forbidden in ["__mod_init_func", "__mod_term_func", "__StaticInit", "LC_ROUTINES", "__IMPORT"]:
        expect(forbidden not in head, f"it has {forbidden}")
    loads = re.findall(r"cmd (LC_LOAD\w*DYLIB)\n.*\n\s*name (\S+)", head)
    wanted = [("LC_LOAD_WEAK_DYLIB" if library == mac_bundle.WEAK else "LC_LOAD_DYLIB", name)
              for library, name in mac_bundle.INSTALL_NAMES.items()]
    expect(loads == wanted, f"it loads {loads}")
    for segment, protection in re.findall(r"segname (\S+)\n\s*vmaddr(?:.*\n){4}\s*maxprot \S+\n\s*initprot (\S+)", head):
        expect("w" not in protection or "x" not in protection, f"{segment} can be written and run")


def check_bindings(bundle):
    """Each name comes from the library that has it: the tool reads a binding's ordinal as the n-th library loaded."""
    table = tool("llvm-objdump-14", "--macho", "--bind", bundle)
    rows = re.findall(r"^(\S+)\s+\S+\s+0x\S+\s+pointer\s+0 (\S+)\s+_(\S+)( \(weak_import\))?$", table, re.MULTILINE)
    expect(len(rows) == len(table.split("Bind table:\n")[1].splitlines()) - 1, "a binding can't be read")
    bound = {(library.removeprefix("lib"), name, bool(weak)) for _, library, name, weak in rows}
    imports = mac_bundle.imports_by_library()
    allowed = {(library, name, library == mac_bundle.WEAK) for library, names in imports.items() for name in names}
    needed = {row for row in allowed if row[0] != "System"}
    expect(bound <= allowed, f"bound and not allowed: {sorted(bound - allowed)}")
    expect(needed <= bound, f"not bound: {sorted(needed - bound)}")
    rebased = re.findall(r"^(\S+)\s+\S+\s+0x", tool("llvm-objdump-14", "--macho", "--rebase", bundle), re.MULTILINE)
    expect(rebased, "no pointer would follow the bundle to its place")
    expect({*rebased, *(segment for segment, *_ in rows)} == {"__DATA"}, "something beside data is mended at load")
    for option in ["--lazy-bind", "--weak-bind"]:
        found = re.findall(r"^__.*", tool("llvm-objdump-14", "--macho", option, bundle), re.MULTILINE)
        expect(not found, f"{option} finds {found}")
    return {name for _, name, _ in bound}


def check_symbols(bundle, bound):
    exports = re.findall(r"^0x\S+\s+(\S+)", tool("llvm-objdump-14", "--macho", "--exports-trie", bundle), re.MULTILINE)
    expect(exports == ["_REALPluginMain"], f"it exports {exports}")
    symbols = tool("llvm-nm-14", "-m", "-n", bundle)
    undefined = set(re.findall(r"\(undefined\).* external _(\S+) ", symbols))
    expect(undefined == bound, f"undefined or bound, but not both: {sorted(undefined ^ bound)}")

    data = [(int(address, 16), name) for address, name in
            re.findall(r"^(\S+) \(__DATA,__data\) .* (\S+)$", symbols, re.MULTILINE)]
    sizes = {record: 29 * 4 for record in CLASSES} | {table: rows(table) * size for table, size in TABLES.items()}
    for record, size in sizes.items():
        here = next((i for i, (_, name) in enumerate(data) if name == "_" + record), None)
        if here is None:
            failures.append(f"{record} is not in writable data")
            continue
        room = data[here + 1][0] - data[here][0] if here + 1 < len(data) else None
        expect(room == size, f"{record} takes {room} bytes, not {size}")


def check_same_bytes(home):
    """Another folder of another name gives the same bundle and the same zip."""
    with tempfile.TemporaryDirectory() as elsewhere:
        copy = pathlib.Path(elsewhere) / "of another name"
        for name in ["contract", "plugin", "VERSION", "script"]:
            copier = shutil.copytree if pathlib.Path(name).is_dir() else shutil.copy
            copy.mkdir(exist_ok=True)
            copier(name, copy / name)
        subprocess.run([sys.executable, "script/mac_bundle.py", "out"], cwd=copy, check=True, capture_output=True)
        made = sorted(path.relative_to(home) for path in home.rglob("*")
                      if path.is_file() and "parts" not in path.parts)
        for name in made:
            expect((home / name).read_bytes() == (copy / "out" / name).read_bytes(), f"{name} differs from folder to folder")


def main(home):
    bundle = str(home / f"{mac_bundle.NAME}.bundle/Contents/MacOS/{mac_bundle.NAME}")
    check_head(bundle)
    bound = check_bindings(bundle)
    check_symbols(bundle, bound)
    check_same_bytes(home)
    for sentence in failures:
        print(f"check-target: the bundle is wrong: {sentence}.", file=sys.stderr)
    if failures:
        sys.exit(1)
    print(f"check-target: one export, {len(bound)} imports, each from its own library, and the same bytes in two folders")


main(pathlib.Path(sys.argv[1]))
