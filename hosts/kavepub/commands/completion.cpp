// Looks into the table of commands and options.
#include "hosts/kavepub/commands/completion.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "hosts/kavepub/commands/command_line.h"

namespace {

using Words = std::vector<std::string>;

constexpr struct {
  std::string_view argument;
  const char* offer;
} kKinds[] = {
    {kAnyFile, ":file"},        {kInputs, ":file"},         {kFile, ":file"},
    {kPictureFile, ":picture"}, {kDirectory, ":directory"}, {kJournals, ":file"},
    {kEncoding, ":encoding"},   {kBooks, ":book"},
};

Words OffersOf(const std::vector<Entry>& entries) {
  Words offers;
  for (const Entry& entry : entries) offers.push_back(entry.name + ":" + entry.text);
  return offers;
}

// What can stand for an argument.
Words Arguments(const CLI::App& app, const std::string& argument) {
  if (argument == kCommand) return OffersOf(CommandsOf(app));
  Words offers;
  std::istringstream choices(argument);
  for (std::string choice; std::getline(choices, choice, '|');) {
    const auto* kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                    [&](const auto& row) { return row.argument == choice; });
    if (kind != std::end(kKinds)) {
      offers.push_back(kind->offer);
    } else if (std::all_of(choice.begin(), choice.end(),
                           [](char letter) { return letter >= 'a' && letter <= 'z'; })) {
      offers.push_back(choice + ":");
    }
  }
  return offers;
}

// The option that waits for the last word; null when none does.
const CLI::Option* Waiting(const CLI::App& command, const Words& words) {
  if (words.size() < 2) return nullptr;
  const CLI::Option* option = command.get_option_no_throw(words[words.size() - 2]);
  const bool takesArgument = option != nullptr && option->get_items_expected_max() > 0;
  return takesArgument && !option->get_positional() ? option : nullptr;
}

Words AllOffers(const CLI::App& app, const Words& words) {
  const CLI::App* command = words.size() > 1 ? FindCommand(app, words.front()) : nullptr;
  if (command == nullptr)
    return words.back().starts_with('-') ? OffersOf(OptionsOf(app)) : OffersOf(CommandsOf(app));
  if (const CLI::Option* option = Waiting(*command, words)) {
    return Arguments(app, option->get_type_name());
  }
  if (words.back().starts_with('-')) return OffersOf(OptionsOf(*command));
  for (const CLI::Option* option : command->get_options()) {
    if (option->get_positional()) return Arguments(app, option->get_name());
  }
  return {};
}

}  // namespace

Words Offers(const CLI::App& app, const Words& words) {
  Words offers = words.empty() ? Words() : AllOffers(app, words);
  std::erase_if(offers, [&](const std::string& offer) {
    return !offer.starts_with(':') && !offer.starts_with(words.back());
  });
  return offers;
}
