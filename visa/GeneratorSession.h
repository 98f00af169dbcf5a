// A session of the front on a generator: what viOpen gives for a name with ::ZLT or an alias of one.
//
// Any thread may call anything at any time. Written bytes are gathered until a message is whole: at a line end outside
// of a block, or at the end of a viWrite that sends END. A message begun later drops the answers that were not read
// (IEEE 488.2 section 6.3.2.3); messages of one viWrite keep each other's.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "client/MessageScanner.h"
#include "visa/Instrument.h"
#include "visa/Names.h"
#include "visa/Objects.h"
#include "visa/VisaTypes.h"

namespace visa {

/// Attributes that a program may set. Each is read and written under the session's lock.
struct Settings {
  ViUInt32 timeout_ms = 2000;
  ViUInt32 maximum_queue_length = 50;
  ViUInt32 user_data_32 = 0;
  ViUInt64 user_data = 0;
  ViUInt8 termination_character = '\n';
  ViBoolean termination_enabled = 0;
  ViBoolean send_end = 1;
  ViBoolean suppress_end = 0;
  ViUInt16 io_protocol = 1;
  ViBoolean dma_allowed = 0;
  ViBoolean file_append = 0;
  ViUInt16 read_buffer_mode = 3;
  ViUInt16 write_buffer_mode = 2;
  ViInt16 trigger_id = -1;
  ViBoolean readdress = 1;
  ViBoolean unaddress = 0;
  ViInt16 remote_enabled = 1;  ///< kept for viGpibControlREN; the generator has no local mode
  ViUInt32 read_buffer_size = 4096;
  ViUInt32 write_buffer_size = 4096;
};

class GeneratorSession : public Object {
 public:
  /// `typed` is the name that viOpen got: an alias says what interface the program believes in.
  GeneratorSession(ViObject manager, std::shared_ptr<Instrument> instrument, std::string generator,
                   std::string_view typed);
  ~GeneratorSession() override;

  ViStatus Close() override;
  ViStatus Write(std::string_view bytes, ViUInt32* written);
  ViStatus Read(unsigned char* buffer, ViUInt32 count, ViUInt32* got);
  ViStatus ReadStatusByte(ViUInt16& status);
  ViStatus Trigger();
  ViStatus Clear();
  ViStatus Lock(ViUInt32 type, ViUInt32 timeout_ms, const char* requested_key, char* granted_key);
  ViStatus Unlock();
  ViStatus ControlRemote(ViUInt16 mode);

  ViStatus GetAttribute(ViAttr attribute, void* value);
  ViStatus SetAttribute(ViAttr attribute, ViAttrState value);

  // Formatted input and output (VPP-4.3 section 6.2); bodies in FormattedIo.cpp.
  ViStatus Print(const char* format, va_list arguments);
  ViStatus Scan(const char* format, va_list arguments);
  /// Both, with what the first leaves of the arguments for the second.
  ViStatus Query(const char* write_format, const char* read_format, va_list arguments);
  ViStatus BufferedWrite(std::string_view bytes, ViUInt32* written);
  ViStatus BufferedRead(unsigned char* buffer, ViUInt32 count, ViUInt32* got);
  ViStatus Flush(ViUInt16 mask);
  ViStatus SetBuffer(ViUInt16 mask, ViUInt32 size);

 private:
  friend class SessionInput;

  Settings Current();
  ViStatus SendMessages(std::string_view bytes, bool end, Deadline deadline, ViUInt32& taken);
  ViStatus SendBuffered(bool end);
  ViStatus FillReadBuffer();

  const std::shared_ptr<Instrument> m_instrument;
  const std::string m_generator;
  const NameParts m_parts;
  Mailbox m_box;

  std::mutex m_lock;  ///< settings and the unfinished message
  Settings m_settings;
  std::string m_unfinished;
  scpi_zlt::MessageScanner m_scanner;  ///< has read what is unfinished

  std::mutex m_buffers_lock;  ///< held through a call of formatted input or output
  std::string m_write_buffer;
  std::string m_read_buffer;
  bool m_read_ended = true;  ///< the last byte of the read buffer is the end of a response
};

}  // namespace visa
