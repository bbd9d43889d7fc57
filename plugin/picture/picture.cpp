#include "plugin/picture/picture.h"

#include "plugin/host/rows.h"
#include "plugin/picture/handlers.h"

namespace {
using Receiver = REALpictureStruct*;
}

// clang-format off
REALmethodDefinition pictureMethods[] = {
    REAL_DEPRECATED_METHOD(PichandlePicture, "PicHandleTVK as picture"),
    REAL_DEPRECATED_METHOD(PichandlePictureData, "PicHandleDataTVK as string"),
    REAL_DEPRECATED_PROPERTY(CopyPixelsAsMemoryBlock, SetPixelsAsMemoryBlock, "GWorldPixelDataTVK as memoryblock"),
    REAL_DEPRECATED_METHOD(GetGWorldRowbytes, "GWorldPixelRowBytesTVK as integer"),
    REAL_DEPRECATED_METHOD(FastDrawPicture10, "DrawPictureTVK(source as picture,sLeft as integer,sTop as integer,sWidth as integer,sHeight as integer,dLeft as integer,dTop as integer,dWidth as integer,dHeight as integer,mode as integer) as boolean"),
    REAL_DEPRECATED_METHOD(FastDrawPictureMask10, "DrawPictureMaskTVK(source as picture,mask as picture,sLeft as integer,sTop as integer,sWidth as integer,sHeight as integer,dLeft as integer,dTop as integer,dWidth as integer,dHeight as integer) as boolean"),
};
// clang-format on
