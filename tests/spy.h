// Doubles for both boundaries of the plug-in, made from their tables: each tells of its call and passes it on to the
// real function, unless a test puts something else in its place. The functions that the plug-in links with tell of
// their calls too.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "contract/system.h"
#include "plugin/host/host.h"

namespace spy {

// The calls so far, a line each: "FrameArc([20 10 70 50], 30, 90)". Rectangles are top, left, bottom, right; references
// are numbered as they come.
std::string trace();
void clear();
// Forgets overrides, absences and numbers too.
void reset();

// Names of either side that are not there.
extern std::set<std::string> absent;
// Nothing is told while so many calls are made that nobody would read them.
extern bool muted;

// ---- machinery

void tell(const std::string& line);
// The innermost function on the other side that runs, or null. Its own calls are nobody's business.
extern const char* inside;
std::string reference(const void* pointer);

class Inside {
 public:
  explicit Inside(const char* name) : outer_(std::exchange(inside, name)) {}
  ~Inside() { inside = outer_; }
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;

 private:
  const char* outer_;
};

inline std::string show(std::int32_t value) { return std::to_string(value); }
inline std::string show(std::uint32_t value) { return std::to_string(value); }
inline std::string show(const void* pointer) { return reference(pointer); }
inline std::string show(const char* text) { return text != nullptr ? "\"" + std::string(text) + "\"" : "null"; }
inline std::string show(const Rect* r) {
  return "[" + std::to_string(r->top) + " " + std::to_string(r->left) + " " + std::to_string(r->bottom) + " " +
         std::to_string(r->right) + "]";
}
inline std::string show(const RGBColor* c) {
  return std::to_string(c->red) + "/" + std::to_string(c->green) + "/" + std::to_string(c->blue);
}
inline std::string show(Point p) { return std::to_string(p.h) + "x" + std::to_string(p.v); }
inline std::string show(const OpenCPicParams* p) { return show(&p->srcRect); }
// Filled in by the call.
template <class T>
std::string show(T** out) {
  return out != nullptr ? "&" : "null";
}
inline std::string show(RGBColor*) { return "&"; }
inline std::string show(Point*) { return "&"; }
inline std::string show(REALstringData*) { return "&"; }
inline std::string show(REALpictureDescription*) { return "&"; }

template <class Tag, class Signature>
struct Double;

template <class Tag, class Result, class... Arguments>
struct Double<Tag, Result(Arguments...)> {
  static inline Result (*real)(Arguments...) = nullptr;
  static inline std::function<Result(Arguments...)> instead;

  static Result call(Arguments... arguments) {
    if (inside == nullptr && !muted) {
      std::string line = std::string(Tag::name) + "(";
      [[maybe_unused]] const char* separator = "";
      ((line += separator + shown(arguments), separator = ", "), ...);
      tell(line + ")");
    }
    const Inside here(Tag::name);
    if (instead) return instead(arguments...);
    return real(arguments...);
  }

 private:
  template <class T>
  static std::string shown(T value) {
    if constexpr (std::is_same_v<T, PicHandle> || std::is_same_v<T, PolyHandle> || std::is_same_v<T, RgnHandle> ||
                  std::is_same_v<T, CTabHandle> || std::is_same_v<T, PixMapHandle> || std::is_same_v<T, GDHandle> ||
                  std::is_same_v<T, Handle>) {
      return reference(value);
    } else {
      return show(value);
    }
  }
};

// spy::host::REALLockString::instead, spy::qd::PaintRect::instead, spy::system::HLock::instead.
namespace host {
#define ENTRY_POINT(wrapper, known, result, arguments) \
  struct wrapper##Tag {                                \
    static constexpr const char* name = known;         \
  };                                                   \
  using wrapper = Double<wrapper##Tag, result arguments>;
#include "contract/entry_points.def"
}  // namespace host

namespace qd {
#define OPERATION(operation, result, arguments)     \
  struct operation##Tag {                           \
    static constexpr const char* name = #operation; \
  };                                                \
  using operation = Double<operation##Tag, result arguments>;
#include "contract/operations.def"
}  // namespace qd

namespace system {
#define IMPORT(framework, function, result, arguments) \
  struct function##Tag {                               \
    static constexpr const char* name = #function;     \
  };                                                   \
  using function = Double<function##Tag, result arguments>;
#include "contract/system.def"
}  // namespace system

// What the plug-in gets in place of the host's resolver.
void* resolve(const char* name);

}  // namespace spy
