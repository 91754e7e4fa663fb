// What `more.ts` fetches.
export { ComputerPage, HistoryPage, MutedPage } from "./ComputerPage";
export { PhonePage } from "./PhonePage";
export { UnexpectedPhones } from "./UnexpectedPhones";
