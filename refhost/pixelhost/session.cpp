// Loading the plug-in for pixelhost, finding its methods by parameter names and calling them.
#include "refhost/pixelhost/session.h"

#include <cstdio>

namespace pixelhost {

std::set<std::string> WithHostOptions(std::set<std::string> valued) {
  valued.insert({"--host", "--version", "--plugin"});
  return valued;
}
const char kHostUsage[] = "[--host desktop|console|web] [--version 2013.03] [--plugin PATH]";

namespace {

refhost::HostConfig ConfigOf(const CommandLine& line) {
  refhost::HostConfig config;
  const std::string kind = line.Text("--host", "desktop");
  if (kind == "console") config.kind = refhost::HostKind::Console;
  else if (kind == "web") config.kind = refhost::HostKind::Web;
  else if (kind != "desktop") throw UsageError("--host is desktop, console or web, not \"" + kind + "\"");
  config.version = line.Number("--version", config.version);
  config.plugin_path = line.Text("--plugin");
  return config;
}

bool Defaulted(const refhost::Parameter& param) { return param.default_value.has_value(); }

std::string Joined(const std::set<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text.empty() ? "nothing more" : text;
}

}  // namespace

std::string ParamKey(const refhost::Parameter& param) {
  return param.type == refhost::ParamType::IntegerArray ? param.name + "()" : param.name;
}

Session::Session(const CommandLine& line) : host_name_(line.Text("--host", "desktop")), host_(ConfigOf(line)) {
  std::string error;
  if (!host_.Load(&error)) throw Failure(error);
}

std::vector<const refhost::RegisteredMethod*> Session::Methods() const {
  std::vector<const refhost::RegisteredMethod*> methods;
  for (const auto& method : host_.picture_methods()) methods.push_back(&method);
  for (const auto& method : host_.global_methods()) methods.push_back(&method);
  return methods;
}

const refhost::RegisteredMethod* Session::Find(const std::string& name, const std::set<std::string>& required,
                                               const std::set<std::string>& optional) const {
  for (const refhost::RegisteredMethod* method : Methods()) {
    if (method->parsed.name != name) continue;
    std::set<std::string> mandatory, all;
    for (const refhost::Parameter& param : method->parsed.params) {
      all.insert(ParamKey(param));
      if (!Defaulted(param)) mandatory.insert(ParamKey(param));
    }
    bool hasOptional = true;
    for (const std::string& key : optional) hasOptional = hasOptional && all.count(key) != 0;
    if (mandatory == required && hasOptional) return method;
  }
  return nullptr;
}

const refhost::RegisteredMethod& Session::Need(const std::string& name, const std::set<std::string>& required,
                                               const std::set<std::string>& optional) const {
  if (const refhost::RegisteredMethod* method = Find(name, required, optional)) return *method;
  std::set<std::string> asked = required;
  asked.insert(optional.begin(), optional.end());
  throw UsageError("the plug-in registered no " + name + " taking " + Joined(asked));
}

refhost::CallResult Session::Call(const refhost::RegisteredMethod& method, refhost::Object* receiver,
                                  const NamedArgs& args) {
  std::vector<refhost::Arg> positional;
  const auto& pictureMethods = host_.picture_methods();
  if (!pictureMethods.empty() && &method >= &pictureMethods.front() && &method <= &pictureMethods.back())
    positional.push_back(receiver);
  for (const refhost::Parameter& param : method.parsed.params) {
    auto given = args.find(ParamKey(param));
    if (given != args.end()) {
      positional.push_back(given->second);
    } else if (auto fallback = refhost::DefaultArg(param)) {
      positional.push_back(*fallback);
    } else {
      throw Failure("no argument for " + param.name + " of " + method.declaration);
    }
  }
  return host_.Call(method.declaration, positional);
}

refhost::Picture* Session::NewPicture(int32_t width, int32_t height, refhost::Rgba fill) {
  refhost::PictureSetup setup = host_.HostPictureSpec(width, height);
  setup.fill = fill;
  return host_.NewPicture(setup);
}

std::string Complaints(const refhost::CallResult& result) {
  std::string text;
  if (!result.called) text += "pixelhost: " + result.error + "\n";
  for (const refhost::RaisedException& raised : result.exceptions)
    text += raised.class_name + (raised.message ? ": " + *raised.message : "") + "\n";
  for (const std::string& problem : result.problems) text += "pixelhost: host audit: " + problem + "\n";
  return text;
}

void ExpectClean(const refhost::CallResult& result) {
  const std::string complaints = Complaints(result);
  if (complaints.empty()) return;
  fputs(complaints.c_str(), stderr);
  throw Failure("");
}

}  // namespace pixelhost
