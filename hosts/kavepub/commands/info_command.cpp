// "kavepub info": tells what books say of themselves.
#include <cstdio>
#include <exception>
#include <nlohmann/json.hpp>

#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/console/standard_output.h"
#include "hosts/kavepub/inspect/book_info.h"
#include "hosts/kavepub/make/report_json.h"

namespace {

void PrintForMachines(const std::filesystem::path& book, const BookInfo& info) {
  nlohmann::ordered_json object;
  object["book"] = book.string();
  object["format"] = info.format;
  object["title"] = info.title;
  object["author"] = info.author;
  if (!info.language.empty()) object["language"] = info.language;
  if (!info.encoding.empty()) object["encoding"] = info.encoding;
  if (info.pages > 0) object["pages"] = info.pages;
  if (info.encoding.empty()) object["pictures"] = info.pictures;
  object["bytes"] = info.bytes;
  object["contents"] = nlohmann::json::array();
  for (const BookReport::Chapter& entry : info.contents) {
    object["contents"].push_back(AsJson(entry));
  }
  Say(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

void PrintForPeople(const std::filesystem::path& book, const BookInfo& info) {
  std::string text = OneLine(book.string());
  text += "\n  Format    " + info.format;
  text += "\n  Title     " + OneLine(info.title);
  text += "\n  Author    " + OneLine(info.author);
  if (!info.language.empty()) text += "\n  Language  " + OneLine(info.language);
  if (!info.encoding.empty()) text += "\n  Encoding  " + OneLine(info.encoding);
  if (info.pages > 0) text += "\n  Pages     " + std::to_string(info.pages);
  if (info.encoding.empty()) text += "\n  Pictures  " + std::to_string(info.pictures);
  text += "\n  Size      " + std::to_string(info.bytes) + " bytes";
  if (!info.contents.empty()) text += "\n  Contents" + ContentsForPeople(info.contents);
  Say(text);
}

}  // namespace

int RunInfo(const InfoArguments& arguments) {
  int code = kDone;
  for (const std::filesystem::path& book : arguments.books) {
    StopIfInterrupted();
    try {
      const BookInfo info = ReadBookInfo(book);
      arguments.json ? PrintForMachines(book, info) : PrintForPeople(book, info);
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "kavepub: %s\n", Explain(failure).c_str());
      code = kFailed;
    }
  }
  return code;
}
