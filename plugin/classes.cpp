#include "plugin/classes.h"

#include "plugin/graphics/graphics.h"
#include "plugin/picture/picture.h"
#include "plugin/recorder/recorder.h"

namespace {

// The class's own table, apart from the one of the method rows.
constexpr REALattribute kClassAttributes[] = {{"Deprecated", ""}};

}  // namespace

constinit REALclassDefinition graphicseClass = {
    .version = 12,
    .name = "graphics",
    .methods = graphicsMethods,
    .methodCount = kGraphicsMethodCount,
};

constinit REALclassDefinition pictureClass = {
    .version = 12,
    .name = "Picture",
    .methods = pictureMethods,
    .methodCount = kPictureMethodCount,
};

// Constructor and destructor are handlers like any other, and so need a cast.
REALclassDefinition PICTClass = {
    .version = 12,
    .name = "MacPictTVK",
    .dataSize = kPICTDataSize,
    .constructor = REAL_HANDLER(PICTConstructor),
    .destructor = REAL_HANDLER(PICTDestructor),
    .properties = PICTProperties,
    .propertyCount = kPICTPropertyCount,
    .methods = PICTMethods,
    .methodCount = kPICTMethodCount,
    .attributes = kClassAttributes,
    .attributeCount = 1,
};
