// How far a conversion has come, for whoever wants to show it.
#ifndef KAVEPUB_PROGRESS_H
#define KAVEPUB_PROGRESS_H

class Progress {
 public:
  virtual ~Progress() = default;

  // The share of the work that is done, from 0 to 1.
  virtual void Show(double share) = 0;

  // Whether nobody waits for the book any more; asked many times a second, by the thread that waits
  // for a cell.
  virtual bool WantsToStop() { return false; }
};

class NoProgress : public Progress {
 public:
  void Show(double /*share*/) override {}
};

#endif
