#include "conformance/entry.h"
namespace conformance {
std::vector<Entry> text() { return {}; }
std::vector<Entry> headers() { return {}; }
std::vector<Entry> reserved() { return {}; }
std::vector<Entry> images() { return {}; }
std::vector<Entry> containers() { return {}; }
}  // namespace conformance
