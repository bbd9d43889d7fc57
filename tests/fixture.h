// A host with the plug-in loaded, between spies. After each test everything is in balance again.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "platform/quickdraw/operations.h"
#include "platform/runtime/host.h"
#include "tests/spy.h"

// The bundle that is tested: the one for this machine, or the one that the environment names.
inline std::filesystem::path bundle() {
  const char* const named = std::getenv("MACPICT_BUNDLE");
  return named != nullptr ? named : BUNDLE;
}

using runtime::Host;
using runtime::Object;
using runtime::String;
using runtime::Value;

class PluginTest : public ::testing::Test {
 protected:
  PluginTest() : lost_(audited()) { spy::reset(); }
  ~PluginTest() override {
    stop();
    spy::reset();
  }

  // Starts a host; another one ends first.
  Host& start(std::optional<double> version = 2014.0) {
    stop();
    host_.emplace(version);
    for (const std::string& name : spy::absent) host_->withdraw(name);
    // The platform's own folder, whatever stands in for the search later.
    const auto search = std::exchange(spy::system::FSFindFolder::instead, nullptr);
    host_->load(bundle(), &spy::resolve);
    spy::system::FSFindFolder::instead = search;
    spy::clear();
    return *host_;
  }
  Host& host() { return host_ ? *host_ : start(); }

  Object recorder(int width = 100, int height = 80) {
    Object made = host().make("MacPictTVK");
    host().call(made, "CreatePicture", {width, height});
    spy::clear();
    return made;
  }
  std::int32_t number(const Value& value) { return std::get<std::int32_t>(value); }
  static bool isNil(const Value& value) { return std::holds_alternative<runtime::Nil>(value); }
  static std::string bytes(const Value& value) {
    const auto* string = std::get_if<String>(&value);
    return string != nullptr ? std::string(runtime::bytesOf(string->get())) : "(no string)";
  }
  // Without the name that gives something back, this host can't be in balance at its end: so much is lost, by kind, and
  // nothing else.
  void loses(std::set<std::string> kinds) { loses_ = std::move(kinds); }
  // The plug-in can't end this picture, and so gives it up: it outlives the host, whole, and is destroyed here.
  void givesUp(std::int32_t picture) { givenUp_.push_back(reinterpret_cast<Handle>(picture)); }
  // What the calls of one action are.
  template <class Action>
  std::string traceOf(Action action) {
    spy::clear();
    action();
    return spy::trace();
  }

 private:
  static std::set<std::string> audited() {
    const auto lines = runtime::audit();
    return {lines.begin(), lines.end()};
  }

  void stop() {
    if (!host_) return;
    qd::resetCurrentPort();
    for (const Handle picture : std::exchange(givenUp_, {})) {
      EXPECT_GT(GetHandleSize(picture), 0) << "a picture that is given up isn't destroyed";
      KillPicture(reinterpret_cast<PicHandle>(picture));
    }
    std::set<std::string> lost;
    for (const std::string& line : audited()) {
      if (!lost_.contains(line)) lost.insert(line.substr(line.find(' ') + 1));
    }
    EXPECT_EQ(lost, std::exchange(loses_, {}));
    host_.reset();
    lost_ = audited();
  }

  std::optional<Host> host_;
  std::set<std::string> loses_;
  std::vector<Handle> givenUp_;
  std::set<std::string> lost_;  // by earlier hosts: lines of the audit
};
