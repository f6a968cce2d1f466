// "kavepub serve": opens a page where books are made and read.
#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/standard_output.h"
#include "hosts/serve/server/password.h"

int RunServe(const ServeArguments& arguments) {
  if (arguments.hashesPassword) {
    Say(HashOfAskedPassword());
  } else {
    Serve(arguments.settings);
  }
  return kDone;
}
