// The plug-in loaded into a reference host for one pixelhost run, and calls of its registered
// methods with arguments given by parameter name.
#pragma once

#include <map>
#include <set>
#include <string>

#include "refhost/model/host.h"
#include "refhost/pixelhost/command_line.h"

namespace pixelhost {

// The options every command takes to choose its host and plug-in, added to `valued`.
std::set<std::string> WithHostOptions(std::set<std::string> valued);
extern const char kHostUsage[];

// A parameter's name as arguments are keyed: "Red", or "Red()" for an array.
std::string ParamKey(const refhost::Parameter& param);
// Arguments by parameter key; parameters left out take their declared defaults.
using NamedArgs = std::map<std::string, refhost::Arg>;

class Session {
 public:
  // Loads the plug-in into a host made after --host, --version and --plugin.
  explicit Session(const CommandLine& line);

  refhost::Host& host() { return host_; }
  const std::string& host_name() const { return host_name_; }

  // The registered method called `name` whose parameters without a default are exactly
  // `required` and which has every one of `optional` too; null when the plug-in has none.
  const refhost::RegisteredMethod* Find(const std::string& name, const std::set<std::string>& required,
                                        const std::set<std::string>& optional = {}) const;
  // The same, as a usage error naming what was asked when there is no such method.
  const refhost::RegisteredMethod& Need(const std::string& name, const std::set<std::string>& required,
                                        const std::set<std::string>& optional = {}) const;
  // Calls `method`, on `receiver` when it is a "Picture" method. The result's picture, if
  // any, carries a reference for the caller.
  refhost::CallResult Call(const refhost::RegisteredMethod& method, refhost::Object* receiver, const NamedArgs& args);
  // Every method the plug-in registered, "Picture" methods first.
  std::vector<const refhost::RegisteredMethod*> Methods() const;

  // A picture the way this host makes its own.
  refhost::Picture* NewPicture(int32_t width, int32_t height, refhost::Rgba fill);

 private:
  std::string host_name_;
  refhost::Host host_;
};

// What went wrong in a call, in the host's words: "Class: message" for each exception the
// plug-in raised, then what the host's audit found. Empty when the call ran cleanly.
std::string Complaints(const refhost::CallResult& result);
// Prints the complaints on stderr and throws a Failure when there are any.
void ExpectClean(const refhost::CallResult& result);

}  // namespace pixelhost
