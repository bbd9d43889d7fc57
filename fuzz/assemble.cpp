// Assembles any text.
#include <cstdlib>

#include "fuzz/target.h"

void feed(qd::Bytes input) {
  const qd::Assembled made = qd::assemblePicture({reinterpret_cast<const char*>(input.data()), input.size()});
  if (made.error && (made.error->line < 1 || made.error->column < 1 || made.error->what.empty())) std::abort();
}
