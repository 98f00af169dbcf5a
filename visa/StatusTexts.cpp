// What viStatusDesc says.
#include <array>

#include "visa/VisaConstants.h"

namespace visa {
namespace {

struct Text {
  ViStatus status;
  const char* text;
};

constexpr std::array kTexts = {
    Text{kSuccess, "Done."},
    Text{kEventAlreadyDisabled, "The event was disabled already."},
    Text{kQueueEmpty, "The event queue was empty already."},
    Text{kTermChar, "The read ended on the termination character."},
    Text{kMaxCount, "The read filled the buffer; more may be left."},
    Text{kWarnNullObject, "The object is null and was not looked at."},
    Text{kWarnAttributeState, "The value is valid, but not used here."},
    Text{kWarnUnknownStatus, "The status is not known."},
    Text{kWarnBuffer, "This buffer can't be set."},
    Text{kNestedShared, "Done; the session still has a shared lock."},
    Text{kNestedExclusive, "Done; the session still has an exclusive lock."},
    Text{kSystemError, "The system refused: no memory or no thread, or the process is a fork or is ending."},
    Text{kInvalidObject, "There is no such session or object (any more)."},
    Text{kResourceLocked, "Another session holds a lock on the instrument."},
    Text{kInvalidExpression, "The expression has a mistake."},
    Text{kResourceNotFound, "There is no such instrument, or it does not answer."},
    Text{kInvalidName, "The resource name is not understood, or is too long."},
    Text{kInvalidAccessMode, "The access mode is not known."},
    Text{kTimeout, "Nothing came in time."},
    Text{kUnknownAttribute, "The object has no such attribute."},
    Text{kAttributeState, "The attribute does not take this value."},
    Text{kAttributeReadOnly, "The attribute can only be read."},
    Text{kInvalidLockType, "The type of lock is not known."},
    Text{kInvalidAccessKey, "The key is not that of the shared lock."},
    Text{kInvalidEvent, "The instrument has no such event."},
    Text{kInvalidMechanism, "The mechanism is not known."},
    Text{kNotEnabled, "No such event is enabled."},
    Text{kRawWriteViolation, "The message ends inside a block and was not sent."},
    Text{kInvalidSetup, "No such name, and an alias file has a mistake: see the error stream."},
    Text{kNoMemory, "There is not enough memory."},
    Text{kInvalidMask, "The mask names no buffer, or two operations on one."},
    Text{kIoError, "The transfer failed."},
    Text{kInvalidFormat, "The format has a mistake."},
    Text{kUnknownFormat, "The format is not supported."},
    Text{kUnknownOperation, "The instrument has no such operation."},
    Text{kUserBuffer, "The buffer can't be used."},
    Text{kInvalidParameter, "A parameter is not valid."},
    Text{kInvalidProtocol, "The protocol is not valid."},
    Text{kInvalidLength, "The message is too long."},
    Text{kInvalidMode, "The mode is not valid."},
    Text{kNotLocked, "The session has no lock."},
    Text{kLibraryNotFound, "A library can't be loaded: see the error stream."},
    Text{kConnectionLost, "The link to the instrument is lost: close the session and open it again."},
};

}  // namespace

const char* StatusText(ViStatus status) {
  for (const Text& entry : kTexts) {
    if (entry.status == status) return entry.text;
  }
  return nullptr;
}

}  // namespace visa
