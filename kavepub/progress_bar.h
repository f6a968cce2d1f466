// The progress of one conversion, drawn on the terminal.
#ifndef KAVEPUB_PROGRESS_BAR_H
#define KAVEPUB_PROGRESS_BAR_H

#include <string>

class ProgressBar {
 public:
  // Draws on standard error, and only when that is a terminal.
  explicit ProgressBar(std::string bookName);
  // Wipes the bar, so that what is said next begins on an empty line.
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Show(double share);

 private:
  std::string label;
  bool isShown;
  int percentage = -1;
};

#endif
