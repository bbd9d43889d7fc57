// Which image formats there are, and who decodes them.
#pragma once

#include <string_view>

#include "engine/images/image.h"

namespace qd {

// The image of a QuickTime codec, by its four characters.
std::unique_ptr<ImageReader> openCodec(std::string_view codec, const ImageSource& source, std::string& why);
// The image that a file's bytes are, by how they begin.
std::unique_ptr<ImageReader> openFile(const ImageSource& source, std::string& why);

// By libraries that the system keeps safe: row by row.
std::unique_ptr<ImageReader> openJpeg(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openPng(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openGif(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openTiff(const ImageSource& source, std::string& why);  // our own where libtiff isn't
// By a small decoder for all processors, which believes what it reads: only after a check, and the whole image at once.
std::unique_ptr<ImageReader> openCheckedJpeg(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openCheckedPng(const ImageSource& source, std::string& why);
// Our own.
std::unique_ptr<ImageReader> openRaw(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openRpza(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openCinepak(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openRle(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openSmc(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openPlanar(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openTarga(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openBmp(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openOwnGif(const ImageSource& source, std::string& why);
std::unique_ptr<ImageReader> openOwnTiff(const ImageSource& source, std::string& why);

}  // namespace qd
