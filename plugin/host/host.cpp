#include "plugin/host/host.h"

constinit REALResolver gResolver = nullptr;
constinit double rbversion_rbversion = 0.0;
