// The command handlers, named after their headers. A handler turns parsed parameters into one or two calls of CDevice,
// and the result into reply text; the model of the instrument is in CDevice alone. It returns 0 or the number for the
// error queue, and writes neither line end nor separator. An exception leaves only a handler that does not use the
// shapes.
#pragma once

#include <type_traits>

#include "scpi_core/types.h"

namespace scpi_lib {

using SCPI_Function = std::remove_pointer_t<SCPI_Handler>;

#define COMMAND(header, handler, forms, parameter) SCPI_Function handler;
#include "src/plib/Commands.def"
#undef COMMAND

}  // namespace scpi_lib
