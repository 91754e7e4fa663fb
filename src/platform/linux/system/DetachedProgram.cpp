#include "platform/linux/system/DetachedProgram.h"

#include <QtCore/QProcess>
#include <QtCore/QStringList>

namespace quillard::desktop {

bool startDetached(const std::vector<std::string>& command) {
  if (command.empty()) return false;
  QStringList arguments;
  for (std::size_t i = 1; i < command.size(); ++i) arguments << QString::fromStdString(command[i]);
  QProcess process;
  process.setProgram(QString::fromStdString(command.front()));
  process.setArguments(arguments);
  process.setStandardInputFile(QProcess::nullDevice());
  process.setStandardOutputFile(QProcess::nullDevice());
  process.setStandardErrorFile(QProcess::nullDevice());
  return process.startDetached();
}

}  // namespace quillard::desktop
