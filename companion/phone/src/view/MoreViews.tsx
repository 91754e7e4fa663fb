// What `more.ts` fetches.
export { ComputerPage, HistoryPage, MutedPage } from "./ComputerPage";
export { Home } from "./Home";
export { PhonePage } from "./PhonePage";
