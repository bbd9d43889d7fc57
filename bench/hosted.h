// A host with the plug-in, whose handlers are called by the addresses that it registered.
#pragma once

#include "bench/bench.h"
#include "platform/runtime/host.h"

namespace bench {

class Hosted {
 public:
  explicit Hosted(runtime::Host::Resolver resolver = &runtime::Host::resolve) { host_.load(BUNDLE, resolver); }

  runtime::Host& host() const { return host_; }
  const runtime::Method& method(const char* className, const char* name) const {
    for (const runtime::Method& method : host_.classes().at(className).methods) {
      if (runtime::sameName(method.declaration.name, name)) return method;
    }
    fail(std::string("The plug-in has no method ") + name + ".");
  }

 private:
  mutable runtime::Host host_;
};

}  // namespace bench
