// Doubles of everything that surrounds a phone, for tests of the core and of what is built on it.

export {
  FakeComputer,
  sampleApproval,
  sampleButton,
  sampleID,
  sampleResult,
  type PhoneMessage,
} from "./testing/fakeComputer";
export { FakePushDoor, type FakeNotification } from "./testing/fakePushDoor";
export { HeldStore } from "./testing/heldStore";
export { FakeNetwork, FakeSocket, FakeDeviceStatus } from "./testing/fakeNetwork";
export { PhoneWorld } from "./testing/phoneWorld";
export { countedCrypto, VirtualTime } from "./testing/virtualTime";
