"""Compiles and links the plug-in for i386 Mac OS X 10.6, and packs it.

Only the old Mach-O linker of LLVM 13 still knows i386, and it leaves some things of such bundles undone. Each has a step
here: pointers to other images' symbols, which it would not bind (`with_pointers_in_data`), its stubs, which could not be
moved (`with_own_stubs`), the libraries to link with (`make_library`), and weak imports (`mark_weak`). The same sources
give the same bytes on every machine.
"""
import os
import pathlib
import re
import struct
import subprocess
import sys
import zipfile

NAME = "QuickDrawTVK"
COMPILER = ["clang++-14", "--target=i386-apple-macosx10.6"]
FLAGS = ["-std=c++20", "-O2", "-fno-exceptions", "-fno-rtti", "-fno-threadsafe-statics", "-fno-stack-protector",
         "-fvisibility=hidden", "-Wall", "-Wextra", "-Werror",
         # Loops that fill memory stay loops: memset_pattern16 is a function of one system's C library alone.
         "-mllvm", "-disable-loop-idiom-memset",
         # The C and C++ headers at hand stand in for Apple's. Darwin's __nonnull is a keyword to clang and a macro to them.
         "-nostdinc++", "-U__nonnull", "-isystem", "/usr/include/c++/12", "-isystem",
         "/usr/include/x86_64-linux-gnu/c++/12/32", "-isystem", "/usr/include/x86_64-linux-gnu", "-I."]
LINKER = ["ld64.lld.darwinold-13", "-arch", "i386", "-macosx_version_min", "10.6", "-sdk_version", "10.6"]
WEAK = "Carbon"
# Where each library is found on a Mac. libSystem is the C library; the binder's name is one that the linker asks for.
INSTALL_NAMES = {
    "System": "/usr/lib/libSystem.B.dylib",
    "CoreFoundation": "/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation",
    "CoreServices": "/System/Library/Frameworks/CoreServices.framework/Versions/A/CoreServices",
    "Carbon": "/System/Library/Frameworks/Carbon.framework/Versions/A/Carbon",
}
C_LIBRARY = ["calloc", "free", "malloc", "memcpy", "memset", "snprintf", "strlen"]


def run(command):
    """The linker leaves whatever its memory held between things that are aligned, so memory is handed to it as zeros."""
    subprocess.run([str(word) for word in command], check=True, env={**os.environ, "MALLOC_PERTURB_": "255"})


def imports_by_library():
    """The names that the bundle may import, by the library that has them."""
    rows = re.findall(r"^(?:WEAK_)?IMPORT(?:_OBJECT)?\((\w+), *(\w+),", pathlib.Path("contract/system.def").read_text(),
                      re.MULTILINE)
    libraries = {"System": C_LIBRARY + ["dyld_stub_binder"]}
    for library, name in rows:
        libraries.setdefault(library, []).append(name)
    return libraries


def compile_sources(out):
    """The assembly of each source, by its name."""
    sources = sorted(pathlib.Path("plugin").rglob("*.cpp"))
    assembly = {}
    for source in sources:
        listing = out / (str(source).replace("/", "-") + ".s")
        run([*COMPILER, *FLAGS, "-S", source, "-o", listing])
        assembly[listing] = listing.read_text()
    return assembly


def with_pointers_in_data(text):
    """Pointers to symbols become words of the data, which the linker binds and rebases as it does any other.

    Their labels stay in the symbol table: those that begin with L are local to the assembler, and the linker would take
    all the words for one.
    """
    text = re.sub(r"^\t\.section\t__IMPORT,__pointers,non_lazy_symbol_pointers$", "\t.section\t__DATA,__data\n\t.p2align\t2",
                  text, flags=re.MULTILINE)
    text = re.sub(r"^\t\.indirect_symbol\t(\S+)\n\t\.long\t0$", r"\t.long\t\1", text, flags=re.MULTILINE)
    return re.sub(r"\bL_(\w+\$non_lazy_ptr)\b", r"l_\1", text)


def with_own_stubs(assembly, names):
    """Sends calls of imported functions to stubs of our own, and gives the assembly of these too.

    A stub finds its pointer from where it itself lies, so that the code holds no address and needs no mending at load.
    """
    used = set()

    def send(match):
        if match[2] not in names:
            return match[0]
        used.add(match[2])
        return f"{match[1]}stub${match[2]}"

    sent = {path: re.sub(r"^(\t(?:calll|jmp)\t)_(\w+)$", send, text, flags=re.MULTILINE) for path, text in assembly.items()}
    stubs = "".join(f"""\
\t.section\t__TEXT,__text,regular,pure_instructions
\t.private_extern\tstub${name}
\t.globl\tstub${name}
\t.p2align\t4, 0x90
stub${name}:
\tcalll\tLhere${name}
Lhere${name}:
\tpopl\t%eax
\tjmpl\t*(l_{name}$pointer-Lhere${name})(%eax)
\t.section\t__DATA,__data
\t.p2align\t2
l_{name}$pointer:
\t.long\t_{name}
""" for name in sorted(used))
    return sent, stubs + "\t.subsections_via_symbols\n"


def assemble(out, path, text):
    path.write_text(text)
    run([*COMPILER, "-c", path, "-o", path.with_suffix(".o")])
    return path.with_suffix(".o")


def make_library(out, library, names):
    """A library of nothing but names, for the linker to see who has what."""
    text = "\t.section\t__DATA,__data\n" + "".join(f"\t.globl\t_{name}\n_{name}:\n\t.long\t0\n" for name in names)
    text = text.replace("_dyld_stub_binder", "dyld_stub_binder")
    made = out / f"lib{library}.dylib"
    system = [] if library == "System" else [out / "libSystem.dylib"]
    run([*LINKER, "-dylib", "-install_name", INSTALL_NAMES[library], assemble(out, out / f"lib{library}.s", text), *system,
         "-o", made])
    return made


def mark_weak(bundle, library, names):
    """Makes a library and the imports from it weak: what is absent is null, and the bundle loads without it."""
    LC_LOAD_DYLIB, LC_LOAD_WEAK_DYLIB, LC_DYLD_INFO_ONLY = 0xC, 0x80000018, 0x80000022
    SET_SYMBOL, WEAK_IMPORT = 0x40, 0x01
    at, marked = 28, False
    for _ in range(struct.unpack_from("<I", bundle, 16)[0]):
        command, size = struct.unpack_from("<II", bundle, at)
        if command == LC_LOAD_DYLIB:
            name = at + struct.unpack_from("<I", bundle, at + 8)[0]
            if bundle[name:at + size].rstrip(b"\0").decode() == INSTALL_NAMES[library]:
                struct.pack_into("<I", bundle, at, LC_LOAD_WEAK_DYLIB)
                marked = True
        elif command == LC_DYLD_INFO_ONLY:
            bind, length = struct.unpack_from("<II", bundle, at + 16)
        at += size
    assert marked, f"the bundle doesn't load {library}"
    for name in names:
        opcode = bytes([SET_SYMBOL]) + b"_" + name.encode() + b"\0"
        found = [match.start() for match in re.finditer(re.escape(opcode), bundle[bind:bind + length])]
        assert found, f"{name} isn't bound"
        for place in found:
            bundle[bind + place] |= WEAK_IMPORT


def project_version():
    return pathlib.Path("VERSION").read_text().strip()


def pack(files, path):
    """A zip whose bytes depend on nothing but its files."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, (content, mode) in sorted(files.items()):
            entry = zipfile.ZipInfo(name)
            entry.create_system = 3
            entry.external_attr = (0o100000 | mode) << 16
            archive.writestr(entry, content, zipfile.ZIP_DEFLATED)


def main(home):
    out = home / "parts"
    out.mkdir(parents=True, exist_ok=True)
    imports = imports_by_library()
    libraries = [make_library(out, library, imports[library]) for library in INSTALL_NAMES]
    assembly = {path: with_pointers_in_data(text) for path, text in compile_sources(out).items()}
    assembly, stubs = with_own_stubs(assembly, {name for names in imports.values() for name in names})
    objects = [assemble(out, path, text) for path, text in {**assembly, out / "stubs.s": stubs}.items()]
    linked = out / NAME
    run([*LINKER, "-bundle", *objects, *libraries, "-exported_symbol", "_REALPluginMain", "-o", linked])
    executable = bytearray(linked.read_bytes())
    mark_weak(executable, WEAK, imports[WEAK])

    version = project_version()
    info = pathlib.Path("plugin/Info.plist.in").read_text().replace("@PROJECT_VERSION@", version)
    contents = f"{NAME}.bundle/Contents"
    files = {f"{contents}/MacOS/{NAME}": (bytes(executable), 0o755), f"{contents}/Info.plist": (info.encode(), 0o644),
             f"{contents}/PkgInfo": (b"BNDL????", 0o644)}
    for name, (content, mode) in files.items():
        path = home / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        path.chmod(mode)
    files["Install.txt"] = (pathlib.Path("plugin/Install.txt").read_bytes(), 0o644)
    pack(files, home / f"{NAME}-{version}-mac.zip")
    print(f"mac-bundle: {home}/{NAME}.bundle, {len(executable)} bytes of code and data, and {NAME}-{version}-mac.zip")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))
