// The reference host: loads the plug-in as the real host does, offers every host function
// through its resolver, keeps count of references and locks, and calls registered methods
// by their declarations. One host at a time: a new one may follow once the previous one is
// gone, provided the plug-in's globals were put back first (its probe build can do that).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/host_types.h"
#include "refhost/model/declaration.h"
#include "refhost/model/objects.h"
#include "refhost/model/pictures.h"

namespace refhost {

enum class HostKind { Desktop, Console, Web };
// The application class each kind of host runs, in HostKind's order.
inline constexpr const char* kApplicationClasses[] = {"Application", "ConsoleApplication", "WebApplication"};

struct HostConfig {
  // The version "REALGetRBVersion" answers (hold the name back for a host without it).
  double version = 2013.03;
  // Which application class the host runs (kApplicationClasses).
  HostKind kind = HostKind::Desktop;
  // Further class names that "pluginObjectType" knows.
  std::set<std::string> extra_classes;
  // Lookup names the resolver answers with null.
  std::set<std::string> missing;
  // Lookup names the host has but that always fail: they do nothing and answer null,
  // false, 0 or, for "RuntimeUBound", an empty array's -1 (refhost/model/failing_functions.h).
  std::set<std::string> failing;
  // Class names that "PluginNewInstance" refuses to instantiate.
  std::set<std::string> uninstantiable;
  // The plug-in to load; empty: the one beside the running program, as the build and a
  // release lay them out (Open puts its path here).
  std::string plugin_path;
  // Keep no log of lookups and calls (for benchmarks, whose loops would grow it without end).
  bool quiet = false;
  // Desktop hosts: the alpha info of the bitmap contexts of pictures "newPicture" makes.
  uint32_t new_picture_alpha_info = 6;
  // "REALLoadObjectMethod" answers null, as hosts without it do for DrawPicture.
  bool no_draw_method = false;
  // Pictures that "newPicture" makes refuse every pixel lock.
  bool new_pictures_refuse_locks = false;
  // Desktop pictures also lend a true-colour rendering of themselves when asked.
  bool lend_true_color = false;
};

// One exception that the plug-in handed to "RuntimeRaiseException" during a call.
struct RaisedException {
  std::string class_name;
  std::optional<std::string> message;  // null when "Message" was set to no string
  uint32_t message_encoding = 0;
  std::optional<int32_t> error_number;
};

// One entry of the host's log: a resolver lookup or a host function call, in order.
struct LogEntry {
  bool lookup = false;
  std::string name;
  bool found = true;  // lookups: whether the resolver answered an address
  int object = 0;     // calls: id of the object passed first, 0 for none
};

struct CallResult {
  bool called = false;        // a method with the declaration was found and run
  bool boolean = false;       // result of a method returning boolean
  Object* picture = nullptr;  // result of a method returning picture (the caller's reference)
  std::vector<RaisedException> exceptions;
  // References or locks left unbalanced, objects leaked, misuse of host functions.
  std::vector<std::string> problems;
  std::string error;  // why nothing was called
};

// A registered method as the host captured it.
// Declarations are kept and parsed once per process: hosts that follow one another share them.
struct RegisteredMethod {
  void* function;  // as this process calls it (os::PluginFunction)
  const std::string& declaration;
  uintptr_t flags;
  const Declaration& parsed;  // empty when the declaration doesn't parse
};

class Host {
 public:
  explicit Host(HostConfig config);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // The host of this process, if any.
  static Host* Current();

  const HostConfig& config() const { return config_; }

  // Load the plug-in (dlopen, or LoadLibraryW on Windows) and find its entry point; Start
  // then calls it. Load does both.
  bool Open(std::string* error);
  bool Start(std::string* error);
  bool Load(std::string* error) { return Open(error) && Start(error); }
  // A symbol of the loaded plug-in (null when it has none).
  void* Symbol(const char* name) const;

  // What the plug-in registered.
  std::optional<int32_t> control_version() const { return control_version_; }
  const std::vector<RegisteredMethod>& global_methods() const { return global_methods_; }
  const std::vector<RegisteredMethod>& picture_methods() const { return picture_methods_; }
  // The class record as registered: its words, and the record itself.
  const std::vector<uintptr_t>& class_words() const { return class_words_; }
  const void* class_record() const { return class_record_; }
  int class_registrations() const { return class_registrations_; }

  // Calls the method registered with exactly this declaration ("Picture" methods take the
  // receiver first). Arguments left out take the declaration's defaults.
  CallResult Call(const std::string& declaration, std::vector<Arg> args);
  // Runs `body` as the host runs a method: raised exceptions are collected and every
  // reference and lock is audited afterwards. `body` returns the picture it was given, if any.
  CallResult Run(const std::function<void*()>& body);

  // Objects made for the caller, each with one reference that the caller holds.
  MemoryBlock* NewMemoryBlock(size_t size, uint8_t fill = 0);
  IntArray* NewIntArray(std::vector<int32_t> values);
  Picture* NewPicture(const PictureSetup& setup) { return Make<Picture>(setup); }
  // The picture "newPicture" makes on this host: a bitmap context on desktop hosts, a
  // true-colour image on console and web hosts. Null outside 1 to 32767.
  Picture* MakeHostPicture(int32_t width, int32_t height);
  PictureSetup HostPictureSpec(int32_t width, int32_t height) const;
  void Release(Object* object);
  void Retain(Object* object);

  // Run inside "REALYieldToRB", as a host runs its event loop there.
  std::function<void()> on_yield;

  // The log of lookups and calls, and its summaries.
  const std::vector<LogEntry>& log() const { return log_; }
  void ClearLog() { log_.clear(); }
  int LookupCount(const std::string& name) const;
  int CallCount(const std::string& name) const;
  std::vector<std::string> CallNames() const;

  // Host functions keep these; the plug-in's resolver and functions reach them.
  void* Resolve(const char* name);
  void NoteCall(const char* name, void* handle = nullptr);
  Object* Find(void* handle) const;  // null, with a problem noted, for an unknown handle
  template <typename T>
  T* FindAs(void* handle) const {
    return dynamic_cast<T*>(Find(handle));
  }
  void Problem(std::string text) { problems_.push_back(std::move(text)); }
  template <typename T, typename... A>
  T* Make(A&&... args);
  bool KnowsClass(const std::string& name) const;
  // The classes a host of `kind` has of its own: its application class, the exception
  // classes and the classes of its objects.
  static bool HasClass(HostKind kind, const std::string& name);
  void SetControlVersion(int32_t version) { control_version_ = version; }
  // The records the plug-in registers, read through plugin/registration.h's layout.
  void CaptureMethod(const REALmethodDefinition* record);
  void CaptureClass(const REALclassDefinition* record);
  void Raise(Object* exception);

 private:
  struct Audit;
  Audit Snapshot() const;
  void Finish(const Audit& before, CallResult& result);
  Object* Adopt(std::unique_ptr<Object> object);
  RegisteredMethod ReadMethod(const REALmethodDefinition& record, bool receiver);

  HostConfig config_;
  void* library_ = nullptr;
  void (*entry_)(void* (*)(const char*)) = nullptr;
  std::optional<int32_t> control_version_;
  std::vector<RegisteredMethod> global_methods_;
  std::vector<RegisteredMethod> picture_methods_;
  std::vector<uintptr_t> class_words_;
  const void* class_record_ = nullptr;
  int class_registrations_ = 0;
  std::unordered_map<const void*, std::unique_ptr<Object>> objects_;
  int next_id_ = 1;
  std::vector<LogEntry> log_;
  std::vector<std::string> problems_;
  std::vector<Object*> raised_;
};

template <typename T, typename... A>
T* Host::Make(A&&... args) {
  return static_cast<T*>(Adopt(std::make_unique<T>(std::forward<A>(args)...)));
}

}  // namespace refhost
