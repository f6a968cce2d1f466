// What a shell may offer at the end of a line.
#ifndef KAVEPUB_COMPLETION_H
#define KAVEPUB_COMPLETION_H

#include <CLI/App.hpp>
#include <string>
#include <vector>

// The offers for the last of the words that follow the name of the tool, which may be empty: each
// "WORD:DESCRIPTION", or else one of ":file", ":directory", ":picture", ":book" and ":encoding", of
// which the shell knows more.
std::vector<std::string> Offers(const CLI::App& app, const std::vector<std::string>& words);

#endif
