#pragma once

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/DesktopCapabilities.h"
#include "platform/desktop/PromptSupplement.h"
#include "platform/desktop/ReadableStarts.h"
#include "platform/desktop/SyntheticEvents.h"
#include "platform/desktop/Translations.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/network/Http.h"
#include "platform/network/WebSocket.h"
#include "platform/process/Application.h"
#include "platform/process/Bundle.h"
#include "platform/process/Calendar.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/process/Environment.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"
#include "platform/process/LockFiles.h"
#include "platform/process/Random.h"
#include "platform/shell/LoginService.h"
#include "platform/shell/StatusItem.h"
#include "platform/shell/UpdateService.h"
#include "platform/shell/UserNotifications.h"
#include "platform/storage/AppendOnlyFile.h"
#include "platform/storage/SecretStore.h"
#include "platform/storage/UserDefaults.h"

namespace quillard::platform {

// Everything that the agent is handed of the outside world. Only the entry point puts one together; each class below it
// is given the few interfaces that it needs. All of them outlive the agent.
struct Platform {
  Accessibility& accessibility;
  Application& application;
  AppendOnlyFile& auditFile;  // What was asked and decided.
  Bundle& bundle;
  Calendar& calendar;
  DesktopCapabilities& capabilities;
  Clock& clock;
  Console& console;
  Environment& environment;
  Executors& executors;
  HttpSessions& httpSessions;
  LocalSockets& localSockets;
  LockFiles& lockFiles;
  LoginService& loginService;
  PromptSupplement promptSupplement;  // What the desktop adds to the rules of prompts; a value.
  Random& random;
  SecretStore& secretStore;
  StatusBar& statusBar;
  SyntheticEvents& syntheticEvents;
  Translations& translations;
  UpdateService& updateService;
  UserDefaults& userDefaults;
  UserNotifications& userNotifications;
  WebSockets& webSockets;
  WindowList& windowList;
  Workspace& workspace;
  ReadableStarts* readableStarts = nullptr;  // Null: no program has to be told at its start that it is read.
};

}  // namespace quillard::platform
