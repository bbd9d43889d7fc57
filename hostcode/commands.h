// What the program's commands do.
#pragma once

#include "hostcode/options.h"

Status runHostCode(const RunOptions& options);
Status printClasses(const ClassesOptions& options);
Status makeGallery(const GalleryOptions& options);
