#include "agent/PhoneNotices.h"

namespace quillard {

void PhoneNotices::nobodyReached() const {
  announcer.tell("nobody-reached",
                 "A prompt waits, and no phone was told: none shows its page, and none could be woken.", {},
                 /*isLogged=*/true);
}

void PhoneNotices::firstGrant(const FirstGrant& grant) const {
  announcer.tell("first-grant",
                 grant.isCertain
                     ? TextKey("%1 has answered a prompt for the first time.")
                     : TextKey("A phone paired with the code of %1 has answered a prompt for the first time."),
                 {grant.phone.name}, /*isLogged=*/false);
}

void PhoneNotices::unexpectedPhone(const UnexpectedPhone& phone) const {
  announcer.tell("new-phone",
                 "%1 has paired with the code of %2. If you do not know it, unpair it in Quillard's window.",
                 {phone.name, phone.earlierName}, /*isLogged=*/true);
}

void PhoneNotices::phoneRemoved(const std::string& name) const {
  announcer.tell("phone-removed", "A phone has had %1 removed.", {name}, /*isLogged=*/true);
}

}  // namespace quillard
