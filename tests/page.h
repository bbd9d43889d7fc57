// Pages as a person meets them in a browser.
#pragma once

#include "tests/macpict.h"

// What a script has to say of a page, in a frame that is so wide. It finds the page loaded, and functions that act as
// a person does. In its answer the characters are _ that HTML writes otherwise.
inline std::string told(const fs::path& page, int width, const std::string& script) {
  const fs::path folder = page.parent_path();
  std::ofstream(folder / "asked.html") << Macpict::readAt(page) << R"(<script>addEventListener("load", async () => {
    const said = [];
    const say = thing => said.push(thing);
    const press = key => document.activeElement.dispatchEvent(new KeyboardEvent("keydown", {key, bubbles: true}));
    const choose = (id, value) => {
      document.getElementById(id).value = value;
      document.getElementById(id).dispatchEvent(new Event("input"));
    };
    const textOf = selector => document.querySelector(selector).textContent;
    const namesShown = () => [...document.querySelectorAll(".name")].map(name => name.textContent).join(", ");
    const facts = () => [...document.querySelectorAll("dt, dd")].map(part => part.textContent).join(" ");
    const pixelsIn = async src => {
      const image = new Image();
      image.src = src;
      await new Promise(done => image.onload = image.onerror = done);
      return `${image.naturalWidth}x${image.naturalHeight}`;
    };
    const isNarrow = () => [...document.querySelectorAll("html, body, .card, section, dialog header, .parts, .parts > *")]
      .every(part => part.scrollWidth <= part.clientWidth);
    try {)" << script << R"(} catch (error) { say(error); }
    parent.postMessage(said.join("|"), "*");
  });</script>)";
  std::ofstream(folder / "asking.html")
      << "<output></output><script>onmessage = ({data}) => {"
         "document.querySelector('output').textContent = data.replace(/[<>&]/g, '_') };"
         "</script><iframe src=asked.html height=844 width="
      << width << "></iframe>";
  std::string text = Macpict::execute("chromium --headless --no-sandbox --disable-gpu --user-data-dir=" +
                                      (folder / "profile").string() + " --virtual-time-budget=5000 --dump-dom file://" +
                                      (folder / "asking.html").string())
                         .text;
  const std::string head = "<output>";
  if (text.find(head) == std::string::npos) return text;
  text.erase(0, text.find(head) + head.size());
  text.erase(text.find("</output>"));
  for (char& c : text) c = c == '|' ? '\n' : c;
  return text;
}
