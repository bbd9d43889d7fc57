// The commands of host code as the command line has them, for the program that runs them and the one that passes them
// on.
#pragma once

#include "tools/command.h"

constexpr double kLatestHost = 2014;

struct RunOptions {
  std::string file, out = ".";
  double hostVersion = kLatestHost;
};
struct ClassesOptions {
  double hostVersion = kLatestHost;
};
struct GalleryOptions {
  std::string folder;
  std::vector<std::string> samples;
};

inline void addHostVersion(CLI::App& command, double& version) {
  command.add_option("--host-version", version, "The version that the host tells, like 2011.04 or 2014")
      ->type_name("V")
      ->check([](const std::string& text) {
        double version = 0;
        return CLI::detail::lexical_cast(text, version) && version >= 1 && version < 10000
                   ? std::string()
                   : "It takes a year and a release, not \"" + text + "\"; 2011.04 or 2014 would work";
      });
}

template <class Run>
void addRun(CLI::App& app, Command& chosen, const Run& run) {
  const auto [command, options] = addCommand<RunOptions>(app, chosen, "run", "Run host code", run);
  command->add_option("FILE", options.file, "The program; - reads standard input")->required()->type_name("");
  command->add_option("--out", options.out, "Where Save writes and Open reads")->type_name("DIR");
  addHostVersion(*command, options.hostVersion);
}

template <class Run>
void addClasses(CLI::App& app, Command& chosen, const Run& run) {
  const auto [command, options] =
      addCommand<ClassesOptions>(app, chosen, "classes", "Print all that the plug-in registers", run);
  addHostVersion(*command, options.hostVersion);
}

template <class Run>
void addGallery(CLI::App& app, Command& chosen, const Run& run) {
  const auto [command, options] = addCommand<GalleryOptions>(
      app, chosen, "gallery", "Run the examples of the reference, and put them and samples on a page", run);
  command->alias("demo");
  command->add_option("DIR", options.folder, "Where the pictures and index.html go")->required()->type_name("");
  command->add_option("SAMPLES", options.samples, "PICT files to play on the page")->type_name("");
}
