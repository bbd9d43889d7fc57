// The records of the classes that the plug-in extends or adds. Writable: the entry point and the host write into them,
// and they stay at their place for the whole process. PICTClass is declared with the recorder.
#pragma once

#include "contract/records.h"

extern REALclassDefinition graphicseClass;
extern REALclassDefinition pictureClass;
