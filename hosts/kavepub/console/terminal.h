// The terminal that standard error may be.
#ifndef KAVEPUB_TERMINAL_H
#define KAVEPUB_TERMINAL_H

#include <string>
#include <string_view>

// A line that is drawn again and again. Nothing is drawn in a pipe or on a terminal that cannot
// move its cursor.
class LiveLine {
 public:
  LiveLine();
  // Wipes the line, so that what is said next begins on an empty one.
  ~LiveLine();
  LiveLine(const LiveLine&) = delete;
  LiveLine& operator=(const LiveLine&) = delete;

  bool IsShown() const { return isShown; }
  // What does not fit into the width of the terminal is cut off.
  void Draw(const std::string& text);
  void Wipe();

 private:
  bool isShown;
  bool isDirty = false;
};

// A bar for a share from 0 to 1, "[#####.....]  50%", in colour unless NO_COLOR is set.
std::string Bar(double share);

// "1:04" or "2:01:04".
std::string Clock(double seconds);

// How many columns a text takes, roughly: letters of three bytes and more are mostly as wide as two
// of one.
size_t WidthOf(std::string_view text);

#endif
