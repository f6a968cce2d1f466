// "kavepub list": names the books of a library.
#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/standard_output.h"
#include "hosts/kavepub/plan/library_list.h"
#include "hosts/kavepub/plan/name_list.h"

int RunList(const ListArguments& arguments) {
  SayAsIs(ListOfNames(NamesOfLibrary(arguments.folder)));
  return kDone;
}
