#include "shell/core/RunGuarded.h"

#include <exception>
#include <new>

#include "comms/Str.h"

CommandResult RunGuarded(const Command& command, const CommandParameters& parameters) {
  try {
    return command.Run(parameters);
  } catch (const std::bad_alloc&) {
    return CommandResult::Fail("there is not enough memory for this");
  } catch (const std::exception& exception) {
    return CommandResult::Fail(comms::Format("stopped unexpectedly: %s", exception.what()));
  }
}
