// The command handlers, named after their headers. A handler turns parsed parameters into one or two calls of CDevice,
// and the result into reply text; the model of the instrument is in CDevice alone. It returns 0 or the number for the
// error queue, and writes neither line end nor separator. An exception leaves only a handler that does not use the
// shapes.
#pragma once

namespace scpi_lib {

struct Call;
/// A handler in this room. The header tree holds a function of type SCPI_Handler that calls it (CommandTable.cpp).
using Handler = int(const Call& call);

#define COMMAND(header, handler, forms, parameter) Handler handler;
#include "src/plib/Commands.def"
#undef COMMAND

}  // namespace scpi_lib
