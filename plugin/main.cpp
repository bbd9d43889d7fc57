// The bundle's one export: the host calls it once, when it loads the plug-in.
#include <cstdlib>
#include <cstring>

#include "plugin/classes.h"
#include "plugin/host/host.h"
#include "plugin/legacy.h"
#include "plugin/picture/picture.h"
#include "plugin/recorder/recorder.h"

namespace {

constexpr std::uint32_t kDataSizeUnit = 16;

std::int32_t RecordVersion(double hostVersion) {
  if (hostVersion >= 2013.03) return 12;
  if (hostVersion >= 2013.0) return 11;
  if (hostVersion >= 2012.0) return 10;
  return 9;
}

// The host gets the address of the static record in either layout. A record that can't be converted for want of memory
// isn't registered.
template <class EntryPoint>
void Register(EntryPoint& entryPoint, REALclassDefinition& record) {
  LegacyClass* legacy = nullptr;
  if (CurrentREALControlVersion > 9) {
    record.version = static_cast<std::uint32_t>(CurrentREALControlVersion);
  } else {
    legacy = FixClass(&record);
    if (legacy == nullptr) return;
    std::memcpy(static_cast<void*>(&record), legacy->words, sizeof legacy->words);
  }
  entryPoint(&record);
  std::free(legacy);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALResolver resolver) {
  gResolver = resolver;
  const auto tellVersion = reinterpret_cast<void (*)(std::int32_t)>(resolver("RegisterPluginVersion"));
  const auto hostVersion = reinterpret_cast<double (*)()>(resolver("REALGetRBVersion"));
  if (hostVersion != nullptr) rbversion_rbversion = hostVersion();

  CurrentREALControlVersion = RecordVersion(rbversion_rbversion);
  if (tellVersion != nullptr) tellVersion(CurrentREALControlVersion);

  Register(host::REALRegisterClassExtension, graphicseClass);
  Register(host::REALRegisterClassExtension, pictureClass);
  PICTClass.dataSize = (PICTClass.dataSize + kDataSizeUnit - 1) / kDataSizeUnit * kDataSizeUnit;
  Register(host::REALRegisterClass, PICTClass);
  for (REALmethodDefinition& row : globalMethodsTVK) host::REALRegisterMethod(&row);
}
