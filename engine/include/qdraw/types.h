// In the source tree QuickDraw's values lie in the contract; where the library is installed they lie here.
#pragma once

#include "contract/types.h"
