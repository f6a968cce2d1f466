// "kavepub info": tells what books say of themselves.
#include <cstdio>
#include <exception>
#include <nlohmann/json.hpp>

#include "kavepub/book_info.h"
#include "kavepub/commands.h"
#include "kavepub/failure.h"

namespace {

void PrintForMachines(const std::filesystem::path& book, const BookInfo& info) {
  nlohmann::ordered_json object;
  object["book"] = book.string();
  object["format"] = info.format;
  object["title"] = info.title;
  object["author"] = info.author;
  if (info.pages > 0) object["pages"] = info.pages;
  object["pictures"] = info.pictures;
  object["bytes"] = info.bytes;
  std::printf("%s\n",
              object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

void PrintForPeople(const std::filesystem::path& book, const BookInfo& info) {
  std::printf("%s\n  Format    %s\n  Title     %s\n  Author    %s\n", book.c_str(),
              info.format.c_str(), info.title.c_str(), info.author.c_str());
  if (info.pages > 0) std::printf("  Pages     %zu\n", info.pages);
  std::printf("  Pictures  %zu\n  Size      %ju bytes\n", info.pictures, info.bytes);
}

}  // namespace

int RunInfo(const InfoArguments& arguments) {
  int code = kDone;
  for (const std::filesystem::path& book : arguments.books) {
    try {
      const BookInfo info = ReadBookInfo(book);
      arguments.json ? PrintForMachines(book, info) : PrintForPeople(book, info);
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "kavepub: %s\n", failure.what());
      code = kFailed;
    }
  }
  return code;
}
