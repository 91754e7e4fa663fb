#include "platform/linux/supplement/LinuxPromptSupplement.h"

#include "platform/linux/supplement/LinuxLabels.h"
#include "platform/linux/supplement/LinuxPhrases.h"

namespace quillard {

const platform::PromptSupplement& linuxPromptSupplement() {
  static const platform::PromptSupplement supplement{.judgesByStructure = true,
                                                     .promptServices = linuxphrases::promptServices(),
                                                     .phrases = linuxphrases::phrases(),
                                                     .questions = linuxphrases::questions(),
                                                     .secretPhrases = linuxphrases::secretPhrases(),
                                                     .hazards = linuxphrases::hazards(),
                                                     .settingsTitles = linuxphrases::settingsTitles(),
                                                     .safeDismissals = linuxlabels::safeDismissals(),
                                                     .dismissals = linuxlabels::dismissals(),
                                                     .actions = linuxlabels::actions(),
                                                     .acknowledgements = linuxlabels::acknowledgements(),
                                                     .asides = linuxlabels::asides(),
                                                     .formLabels = linuxlabels::formLabels()};
  return supplement;
}

}  // namespace quillard
