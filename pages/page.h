// What programs put into the pages that they write.
#pragma once

#include <string>
#include <string_view>

// A page with a text in the place that it has for it: {{place}}.
inline std::string filled(std::string page, std::string_view place, std::string_view text) {
  const std::string marks = "{{" + std::string(place) + "}}";
  return page.replace(page.find(marks), marks.size(), text);
}
