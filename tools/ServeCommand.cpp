#include "tools/ServeCommand.h"

#include <charconv>
#include <cstdint>
#include <memory>
#include <string>
#include <system_error>

#include "server/Server.h"
#include "tools/Library.h"
#include "tools/ToolError.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// Seconds and milliseconds are given as whole numbers.
template <typename Duration>
CLI::Option* AddTime(CLI::App& app, const std::string& name, Duration& value, const std::string& text) {
  return app
      .add_option_function<long>(
          name, [&value](long count) { value = Duration(count); }, text)
      ->check(CLI::NonNegativeNumber)
      ->default_str(std::to_string(value.count()));
}

/// What is wrong with a port; nothing if it is one, or left out.
std::string PortOrNothing(const std::string& text) {
  std::uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, port);
  const bool good = text.empty() || (error == std::errc() && rest == end);
  return good ? "" : "must be a port from 0 to 65535, not " + text;
}

CLI::Option* AddPort(CLI::App& app, const std::string& name, std::optional<std::uint16_t>& port, std::uint16_t usual,
                     const std::string& text) {
  return app
      .add_option_function<std::string>(
          name,
          [&port, usual](const std::string& given) {
            port = given.empty() ? usual : static_cast<std::uint16_t>(std::stoul(given));
          },
          text)
      ->expected(0, 1)
      ->check(PortOrNothing, "")
      ->type_name("PORT");
}

}  // namespace

void AddServeCommand(CLI::App& app) {
  const auto options = std::make_shared<server::ServerOptions>();
  CLI::App& serve = *app.add_subcommand("serve", "Serves one instrument to many clients over the network");
  serve.add_option("RESOURCE", options->worker.resource, "VISA resource name of the instrument, followed by ::ZLT")
      ->required();
  AddPort(serve, "--raw", options->raw, 5025, "Raw socket: SCPI lines (5025; 0 picks a free port)");
  AddPort(serve, "--hislip", options->hislip, 4880, "HiSLIP (4880; 0 picks a free port)");
  AddPort(serve, "--vxi11", options->vxi11, 0, "VXI-11 (a free port; clients find it by the port mapper)");
  serve
      .add_flag("--portmapper", options->port_mapper,
                "Answers on port 111 for VXI-11 clients if no port mapper runs; with --vxi11, and the right to open "
                "that port")
      ->needs("--vxi11");
  serve.add_option("--bind", options->bind, "Address to listen on")->capture_default_str();
  serve.add_option("--allow", options->net.allow, "Network that may connect, as ADDRESS/BITS; may be repeated")
      ->allow_extra_args(false);
  serve.add_option("--port-file", options->port_file, "Writes the ports to this file once all are open");
  serve.add_flag("--private", options->private_sessions,
                 "Each connection has a session, and a model of the instrument, of its own");
  serve.add_flag_function(
      "--tidy,!--exact", [options](std::int64_t count) { options->tidy = count > 0; },
      "Answers without the zero byte of \"*IDN?\" and left-over empty lines (as HiSLIP does), or byte for byte (raw)");
  serve.add_flag("--log-messages", options->log_messages, "Logs every message and answer");
  serve.add_option("--max-clients", options->net.clients, "Connections at a time")->capture_default_str();
  serve.add_option("--max-message", options->message_limit, "Bytes in a message with its line end")
      ->check(CLI::Range(std::size_t{1}, std::size_t{160144}))
      ->capture_default_str();
  serve.add_option("--max-unsent", options->unsent_limit, "Bytes of answers that a client may leave untaken")
      ->capture_default_str();
  AddTime(serve, "--idle", options->net.idle, "Seconds after which a silent connection is closed; 0: never");
  AddTime(serve, "--open-timeout", options->worker.open_timeout, "Milliseconds to wait for the instrument to open");
  AddTime(serve, "--check", options->worker.check_interval,
          "Milliseconds between two checks of an instrument that no client uses");
  AddTime(serve, "--give-up", options->worker.give_up, "Milliseconds that one message may take");
  serve.callback([options] {
    LoadLibrary(options->worker.resource);
    if (!options->raw && !options->hislip && !options->vxi11) options->raw = 5025;
    try {
      server::Serve(*options);
    } catch (const server::NoInstrument& error) {
      throw ToolError(error.what(), kNoInstrument);
    } catch (const server::CannotWrite& error) {
      throw ToolError(error.what(), kFileFailed);
    }
  });
}
