#pragma once

#include "platform/Accessibility.h"
#include "platform/Application.h"
#include "platform/Bundle.h"
#include "platform/Calendar.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/Environment.h"
#include "platform/Executors.h"
#include "platform/Http.h"
#include "platform/LockFiles.h"
#include "platform/LoginService.h"
#include "platform/PropertyLists.h"
#include "platform/Random.h"
#include "platform/SecretStore.h"
#include "platform/StatusItem.h"
#include "platform/StatusWindowView.h"
#include "platform/SyntheticEvents.h"
#include "platform/UpdateService.h"
#include "platform/UserDefaults.h"
#include "platform/UserNotifications.h"
#include "platform/WebSocket.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"

namespace quillard::platform {

// Everything that the agent is handed of the outside world. Only the entry point puts one together; each class below it
// is given the few interfaces that it needs. All of them outlive the agent.
struct Platform {
  Accessibility& accessibility;
  Application& application;
  Bundle& bundle;
  Calendar& calendar;
  Clock& clock;
  Console& console;
  Environment& environment;
  Executors& executors;
  HttpSessions& httpSessions;
  LockFiles& lockFiles;
  LoginService& loginService;
  PropertyLists& propertyLists;
  Random& random;
  SecretStore& secretStore;
  StatusBar& statusBar;
  StatusWindowViews& statusWindowViews;
  SyntheticEvents& syntheticEvents;
  UpdateService& updateService;
  UserDefaults& userDefaults;
  UserNotifications& userNotifications;
  WebSockets& webSockets;
  WindowList& windowList;
  Workspace& workspace;
};

}  // namespace quillard::platform
