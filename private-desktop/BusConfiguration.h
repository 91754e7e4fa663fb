#pragma once

#include <string>

namespace quillard::privatedesktop {

// The configuration of a private session bus: programs of this user may do anything. `serviceFolder` holds the
// descriptions of services that the bus starts by itself; none when it is empty.
inline std::string busConfiguration(const std::string& socket, const std::string& serviceFolder = {}) {
  const std::string services = serviceFolder.empty() ? "" : "<servicedir>" + serviceFolder + "</servicedir>";
  return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
         "  \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
         "<busconfig><type>session</type><listen>unix:path=" +
         socket + "</listen>" + services +
         "<auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
         "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
}

}  // namespace quillard::privatedesktop
