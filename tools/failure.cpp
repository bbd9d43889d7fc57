#include "tools/failure.h"

#include <filesystem>
#include <new>
#include <system_error>

std::string sentenceOfCaught(const std::string& file) {
  const std::string subject = file.empty() ? "This" : "\"" + file + "\"";
  std::string tooLarge = subject + " takes more memory than there is; something smaller would work.";
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return tooLarge;
  } catch (const std::length_error&) {
    return tooLarge;
  } catch (const std::filesystem::filesystem_error& error) {
    return "\"" + error.path1().string() + "\" can't be used: " + error.code().message() + ".";
  } catch (const std::system_error& error) {
    return subject + " can't be worked on: " + error.code().message() + ".";
  } catch (const std::runtime_error& error) {  // ours, which are sentences
    return error.what();
  } catch (...) {
    return subject + " met a fault of the program itself.";
  }
}
