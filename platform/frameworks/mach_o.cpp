#include "platform/frameworks/mach_o.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

namespace mach_o {
namespace {

static_assert(std::endian::native == std::endian::little, "structs are read as they lie in the file");

struct Header {
  std::uint32_t magic, cpu, cpuKind, fileKind, commandCount, commandBytes, flags;
};
struct Command {
  std::uint32_t kind, size;
};
struct SegmentCommand {
  char name[16];
  std::uint32_t address, size, fileOffset, fileSize, mostProtection, protection, sectionCount, flags;
};
struct Section {
  char name[16], segment[16];
  std::uint32_t address, size, offset, alignment, relocations, relocationCount, flags, reserved[2];
};
struct DyldInfo {
  struct Part {
    std::uint32_t offset, size;
  } rebase, bind, weakBind, lazyBind, exports;
};
struct DynamicSymbols {
  std::uint32_t ranges[14], externalRelocations, externalCount, localRelocations, localCount;
};
static_assert(sizeof(Header) == 28 && sizeof(Command) == 8 && sizeof(SegmentCommand) == 48 && sizeof(Section) == 68 &&
              sizeof(DyldInfo) == 40 && sizeof(DynamicSymbols) == 72);

constexpr std::uint32_t kMagic = 0xFEEDFACE;
constexpr std::uint32_t kMagic64 = 0xFEEDFACF;
constexpr std::uint32_t kFatMagic = 0xBEBAFECA;  // its words are big-endian
constexpr std::uint32_t kCpu386 = 7;
constexpr std::uint32_t kBundle = 8;

constexpr std::uint32_t kMustBeUnderstood = 0x80000000;
enum CommandKind : std::uint32_t {
  kSegment = 0x1,
  kDynamicSymbols = 0xB,
  kRoutines = 0x11,
  kDyldInfo = 0x22,
  kWeakLibrary = 0x18 | kMustBeUnderstood,
  kRunPath = 0x1C | kMustBeUnderstood,
  kReexportedLibrary = 0x1F | kMustBeUnderstood,
  kDyldInfoOnly = kDyldInfo | kMustBeUnderstood,
};

enum SectionKind : std::uint8_t { kInitialisers = 0x9, kTerminators = 0xA, kThreadLocals = 0x11, kInitOffsets = 0x16 };

// What opcodes tell of the words to fix up. The high half of a byte says it, by the table of its kind; the low half is
// a small operand. A library's number is passed over: names are looked for everywhere.
enum class Do : std::uint8_t {
  unknown,
  end,
  nothing,
  number,
  symbol,
  type,
  addend,
  segment,
  skip,
  skipWords,
  one,
  some,
  many,
  oneAndSkip,
  oneAndSkipWords,
  manyAndSkip
};
using Opcodes = std::array<Do, 16>;
constexpr Opcodes kRebase = {Do::end,  Do::type, Do::segment,    Do::skip,       Do::skipWords,
                             Do::some, Do::many, Do::oneAndSkip, Do::manyAndSkip};
constexpr Opcodes kBind = {Do::end,        Do::nothing,         Do::number,     Do::nothing, Do::symbol,
                           Do::type,       Do::addend,          Do::segment,    Do::skip,    Do::one,
                           Do::oneAndSkip, Do::oneAndSkipWords, Do::manyAndSkip};
// Lazy bindings are made at once like the others; each of them has an end.
constexpr Opcodes kLazyBind = [] {
  Opcodes opcodes = kBind;
  opcodes[0] = Do::nothing;
  return opcodes;
}();

constexpr int kPointer = 1;     // the one type that data takes
constexpr int kWeakImport = 1;  // a symbol's flag
constexpr std::uint32_t kWord = 4;

// The first thing that is wrong with a file.
struct Fault {
  std::string why;
  bool none() const { return why.empty(); }
  void set(const std::string& what) {
    if (none()) why = what;
  }
};

// One cursor reads foreign bytes. The first fault, its own or another's, is the end of it; every later read gives
// zeros, and the caller asks once.
class Cursor {
 public:
  Cursor(Bytes bytes, Fault& fault) : bytes_(bytes), fault_(fault) {}

  bool more() const { return fault_.none() && !bytes_.empty(); }

  Bytes take(std::uint64_t count) {
    if (count > bytes_.size()) fault_.set("it is a broken Mach-O file: a part of it lies beyond its end");
    if (!fault_.none()) return {};
    const Bytes taken = bytes_.first(count);
    bytes_ = bytes_.subspan(count);
    return taken;
  }
  template <class T>
  T read() {
    static_assert(std::is_trivially_copyable_v<T>);
    T value = {};
    const Bytes taken = take(sizeof value);
    if (!taken.empty()) std::memcpy(&value, taken.data(), sizeof value);
    return value;
  }
  // Seven bits a byte, the low ones first. Linkers write backward distances as numbers that wrap.
  std::uint64_t uleb() { return leb(false); }
  std::uint32_t sleb() { return static_cast<std::uint32_t>(leb(true)); }
  std::string_view string() {
    const auto end = std::find(bytes_.begin(), bytes_.end(), 0);
    const Bytes taken = take(static_cast<std::uint64_t>(end - bytes_.begin()) + 1);
    if (taken.empty()) return {};
    return {reinterpret_cast<const char*>(taken.data()), taken.size() - 1};
  }

 private:
  std::uint64_t leb(bool isSigned) {
    std::uint64_t value = 0;
    for (unsigned shift = 0; shift < 64; shift += 7) {
      const auto byte = read<std::uint8_t>();
      value |= std::uint64_t{byte & 0x7FU} << shift;
      if ((byte & 0x80) != 0) continue;
      if (isSigned && (byte & 0x40) != 0 && shift + 7 < 64) value |= ~std::uint64_t{0} << (shift + 7);
      return value;
    }
    fault_.set("it is a broken Mach-O file: a number in it has more than 64 bits");
    return 0;
  }

  Bytes bytes_;
  Fault& fault_;
};

class Parser {
 public:
  explicit Parser(Bytes file) : file_(file) {}

  std::variant<Image, Refusal> parse() {
    Cursor in(file_, fault_);
    const auto magic = Cursor(file_, fault_).read<std::uint32_t>();
    if (magic == kMagic64) fault_.set("it is a Mach-O file of 64 bits; a bundle of 32 bits for i386 would work");
    if (magic == kFatMagic) fault_.set("it is a Mach-O file for several machines; its part for i386 alone would work");
    if (magic != kMagic && magic != kMagic64 && magic != kFatMagic) {
      fault_ = {"its executable is neither an ELF library nor a Mach-O bundle; one of 32 bits for i386 would work"};
    }
    const auto header = in.read<Header>();
    if (header.cpu != kCpu386) fault_.set("it is a Mach-O file for another machine; a bundle for i386 would work");
    if (header.fileKind != kBundle) {
      fault_.set("it is a Mach-O file of kind " + std::to_string(header.fileKind) + "; a bundle, kind 8, would work");
    }
    Cursor commands(in.take(header.commandBytes), fault_);
    for (std::uint32_t i = 0; i < header.commandCount && fault_.none(); ++i) readCommand(commands);
    place(sizeof header + std::size_t{header.commandBytes});
    if (!info_) fault_.set("it is a Mach-O bundle for Mac OS X before 10.6; one linked for 10.6 would work");
    if (fault_.none()) readInfo();
    if (!fault_.none()) return Refusal{fault_.why};
    return std::move(image_);
  }

 private:
  void readCommand(Cursor& commands) {
    const auto [kind, size] = commands.read<Command>();
    Cursor in(commands.take(size >= sizeof(Command) ? size - sizeof(Command) : ~0U), fault_);
    switch (kind) {
      case kSegment:
        readSegment(in);
        break;
      case kDyldInfo:
      case kDyldInfoOnly:
        info_ = in.read<DyldInfo>();
        break;
      case kDynamicSymbols: {
        const auto symbols = in.read<DynamicSymbols>();
        if (symbols.externalCount != 0 || symbols.localCount != 0) {
          fault_.set("it is a Mach-O bundle with relocations of its own; one linked for Mac OS X 10.6 would work");
        }
        break;
      }
      case kRoutines:
        refuseInitialisers();
        break;
      case kWeakLibrary:
      case kRunPath:
      case kReexportedLibrary:
        break;  // names are looked for in the whole process
      default:
        if ((kind & kMustBeUnderstood) != 0) {
          fault_.set("it is a Mach-O bundle with the load command " + std::to_string(kind ^ kMustBeUnderstood) +
                     ", which isn't known here; one linked for Mac OS X 10.6 would work");
        }
    }
  }

  void readSegment(Cursor& in) {
    const auto command = in.read<SegmentCommand>();
    for (std::uint32_t i = 0; i < command.sectionCount && fault_.none(); ++i) {
      const std::uint32_t kind = in.read<Section>().flags & 0xFF;
      if (kind == kInitialisers || kind == kTerminators || (kind >= kThreadLocals && kind <= kInitOffsets)) {
        refuseInitialisers();
      }
    }
    Cursor content(file_, fault_);
    content.take(command.fileOffset);
    const std::uint64_t pages = (std::uint64_t{command.size} + kPage - 1) / kPage * kPage;
    if (command.address % kPage != 0 || command.fileSize > command.size ||
        command.address + pages > std::uint64_t{1} << 32 || pages > kMostBytes) {
      broken("a segment's place or size can't be");
    }
    if ((command.protection & kWrite) != 0 && (command.protection & kExecute) != 0) {
      fault_.set("it is a Mach-O bundle with code that can be written to; one of separate code and data would work");
    }
    image_.segments.push_back({command.address, static_cast<std::uint32_t>(pages),
                               command.protection & (kRead | kWrite | kExecute), content.take(command.fileSize)});
  }

  void refuseInitialisers() {
    fault_.set("it is a Mach-O bundle with code to run at load, or variables of threads; one without would work");
  }

  // Measures the image from its first segment, which has the header.
  void place(std::size_t headerBytes) {
    std::vector<Segment> sorted = image_.segments;
    std::erase_if(sorted, [](const Segment& segment) { return segment.size == 0; });
    std::sort(sorted.begin(), sorted.end(), [](const Segment& a, const Segment& b) { return a.at < b.at; });
    for (std::size_t i = 1; i < sorted.size(); ++i) {
      if (sorted[i].at - sorted[i - 1].at < sorted[i - 1].size) broken("its segments overlap");
    }
    if (sorted.empty() || sorted.front().content.data() != file_.data() ||
        sorted.front().content.size() < headerBytes) {
      broken("none of its segments begins with its header");
    }
    if (!fault_.none()) return;
    image_.address = sorted.front().at;
    const std::uint64_t size = std::uint64_t{sorted.back().at} + sorted.back().size - image_.address;
    if (size > kMostBytes) fault_.set("it is a Mach-O bundle of more than 16 MiB in memory; a smaller one would work");
    image_.size = static_cast<std::uint32_t>(size);
    for (Segment& segment : image_.segments) segment.at = segment.size != 0 ? segment.at - image_.address : 0;
  }

  Bytes partOf(DyldInfo::Part part) {
    Cursor in(file_, fault_);
    in.take(part.offset);
    return in.take(part.size);
  }

  void readInfo() {
    readFixups(info_->rebase, kRebase);
    readFixups(info_->bind, kBind);
    readFixups(info_->lazyBind, kLazyBind);
    // What is to be bound weakly chooses among several images' definitions; with this one alone, its own stand.
    image_.exports = partOf(info_->exports);
  }

  void readFixups(DyldInfo::Part part, const Opcodes& opcodes) {
    Cursor in(partOf(part), fault_);
    int type = &opcodes == &kLazyBind ? kPointer : 0;
    std::size_t segment = image_.segments.size();
    Binding next = {};  // its place is from the beginning of the segment
    while (in.more()) {
      const auto byte = in.read<std::uint8_t>();
      const std::uint8_t operand = byte & 0xF;
      std::uint64_t count = 0;
      std::uint64_t distance = 0;
      switch (opcodes[byte >> 4]) {
        case Do::unknown:
          broken("nothing is known of the opcode " + std::to_string(byte));
          break;
        case Do::end:
          return;
        case Do::nothing:
          break;
        case Do::number:
          in.uleb();
          break;
        case Do::symbol:
          next.isWeak = (operand & kWeakImport) != 0;
          next.name = in.string();
          break;
        case Do::type:
          type = operand;
          break;
        case Do::addend:
          next.addend = in.sleb();
          break;
        case Do::segment:
          segment = operand;
          next.at = static_cast<std::uint32_t>(in.uleb());
          break;
        case Do::skip:
          next.at += static_cast<std::uint32_t>(in.uleb());
          break;
        case Do::skipWords:
          next.at += operand * kWord;
          break;
        case Do::one:
          count = 1;
          break;
        case Do::some:
          count = operand;
          break;
        case Do::many:
          count = in.uleb();
          break;
        case Do::oneAndSkip:
          count = 1;
          distance = in.uleb();
          break;
        case Do::oneAndSkipWords:
          count = 1;
          distance = operand * kWord;
          break;
        case Do::manyAndSkip:
          count = in.uleb();
          distance = in.uleb();
      }
      for (; count > 0 && fault_.none(); --count) {
        const std::uint32_t at = placeOf(type, segment, next.at);
        if (&opcodes == &kRebase) {
          image_.rebases.push_back(at);
        } else {
          if (!next.name.starts_with('_')) broken("it imports \"" + std::string(next.name) + "\", which has no \"_\"");
          image_.bindings.push_back({at, next.addend, next.name, next.isWeak});
        }
        next.at += kWord + static_cast<std::uint32_t>(distance);
      }
    }
  }

  // The place of a word to fix up, from the image's beginning.
  std::uint32_t placeOf(int type, std::size_t index, std::uint32_t offset) {
    const Segment segment = index < image_.segments.size() ? image_.segments[index] : Segment{};
    if (type != kPointer || (segment.protection & kExecute) != 0) {
      fault_.set("it is a Mach-O bundle whose code is fixed up at load; one of position-independent code would work");
    } else if ((segment.protection & kWrite) == 0 || std::uint64_t{offset} + kWord > segment.content.size()) {
      broken("a word to fix up lies outside its data");
    } else if (image_.rebases.size() + image_.bindings.size() >= 2 * file_.size() / kWord) {  // lazy words are both
      broken("it fixes up more words than it has");
    }
    return segment.at + offset;
  }

  void broken(const std::string& what) { fault_.set("it is a broken Mach-O bundle: " + what); }

  Bytes file_;
  Fault fault_;
  Image image_;
  std::optional<DyldInfo> info_;
};

}  // namespace

std::variant<Image, Refusal> parse(Bytes file) { return Parser(file).parse(); }

// Exports lie in a tree whose edges are pieces of names. Every step takes letters off, so one in a circle ends too.
std::optional<std::uint32_t> Image::find(std::string_view name) const {
  const std::string symbol = "_" + std::string(name);
  std::string_view rest = symbol;
  Fault fault;
  for (Bytes from = exports; fault.none();) {
    Cursor node(from, fault);
    Cursor symbolHere(node.take(node.uleb()), fault);
    if (rest.empty()) {
      const std::uint64_t kind = symbolHere.uleb();  // 0: an address
      const std::uint64_t at = symbolHere.uleb();
      const bool isThere = std::any_of(segments.begin(), segments.end(), [at](const Segment& segment) {
        return at >= segment.at && at - segment.at < segment.size;
      });
      return fault.none() && kind == 0 && isThere ? std::optional(static_cast<std::uint32_t>(at)) : std::nullopt;
    }
    std::size_t taken = 0;
    for (int children = node.read<std::uint8_t>(); children > 0 && taken == 0 && node.more(); --children) {
      const std::string_view edge = node.string();
      const std::uint64_t next = node.uleb();
      if (edge.empty() || !rest.starts_with(edge) || next > exports.size()) continue;
      taken = edge.size();
      from = exports.subspan(next);
    }
    if (taken == 0) break;
    rest.remove_prefix(taken);
  }
  return std::nullopt;
}

std::optional<std::string> fill(const Image& image, std::span<std::uint8_t> memory, std::uint32_t address,
                                const AddressOf& addressOf) {
  for (const Segment& segment : image.segments) {
    std::copy(segment.content.begin(), segment.content.end(), memory.begin() + segment.at);
  }
  for (const std::uint32_t at : image.rebases) {
    std::uint32_t word = 0;
    std::memcpy(&word, &memory[at], kWord);
    word += address - image.address;
    std::memcpy(&memory[at], &word, kWord);
  }
  for (const Binding& binding : image.bindings) {
    const std::string name(binding.name.substr(1));
    std::uint32_t word = addressOf(name);
    if (word == 0 && !binding.isWeak) return name;
    if (word != 0) word += binding.addend;
    std::memcpy(&memory[binding.at], &word, kWord);
  }
  return std::nullopt;
}

#if UINTPTR_MAX == UINT32_MAX
namespace {

// Pages of the process, given back at the end.
class Pages {
 public:
  explicit Pages(std::size_t size)
      : size_(size), start_(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
  Pages(const Pages&) = delete;
  Pages& operator=(const Pages&) = delete;
  ~Pages() {
    if (areThere()) munmap(start_, size_);
  }
  bool areThere() const { return start_ != MAP_FAILED; }
  std::span<std::uint8_t> bytes() const { return {static_cast<std::uint8_t*>(start_), size_}; }

 private:
  std::size_t size_;
  void* start_;
};

std::uint32_t addressInProcess(const std::string& name) {
  return reinterpret_cast<std::uint32_t>(dlsym(RTLD_DEFAULT, name.c_str()));
}

class Library final : public Executable {
 public:
  // The image refers to the file.
  Library(std::vector<std::uint8_t> file, Image image)
      : file_(std::move(file)), image_(std::move(image)), pages_(image_.size) {}

  // Nothing is ever both writable and executable: it is filled first, and protected then.
  std::optional<Refusal> map() {
    const std::span<std::uint8_t> bytes = pages_.bytes();
    if (!pages_.areThere()) return Refusal{"there is no memory for its " + std::to_string(image_.size) + " bytes"};
    const auto missing = fill(image_, bytes, reinterpret_cast<std::uint32_t>(bytes.data()), &addressInProcess);
    if (missing) return Refusal{"it imports \"" + *missing + "\", which neither the platform nor the C library has"};
    mprotect(bytes.data(), bytes.size(), PROT_NONE);
    for (const Segment& segment : image_.segments) {
      if (mprotect(bytes.data() + segment.at, segment.size, static_cast<int>(segment.protection)) != 0) {
        return Refusal{"the system doesn't let its pages be protected"};
      }
    }
    return std::nullopt;
  }

  void* find(const std::string& name) const override {
    const auto at = image_.find(name);
    return at ? pages_.bytes().data() + *at : nullptr;
  }

 private:
  std::vector<std::uint8_t> file_;
  Image image_;
  Pages pages_;
};

}  // namespace

std::variant<std::unique_ptr<Executable>, Refusal> load(std::vector<std::uint8_t> file) {
  auto parsed = parse(file);
  if (auto* refusal = std::get_if<Refusal>(&parsed)) return std::move(*refusal);
  auto library = std::make_unique<Library>(std::move(file), std::move(std::get<Image>(parsed)));
  if (auto refusal = library->map()) return std::move(*refusal);
  return library;
}
#endif

}  // namespace mach_o
