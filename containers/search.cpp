// Pictures anywhere in other bytes.
#include "containers/finder.h"

namespace containers {
void search(Bytes, const std::string&, Finder&) {}
}  // namespace containers
