import { describe, expect, it } from "vitest";
import { readPush, readPushData } from "./pushText";
import { sampleID } from "./testing";

const clock = { epoch: sampleID(9), time: 5 };
const data = {
  quillard: 1,
  kind: "prompt",
  pairingID: "mac",
  approvalID: sampleID(1),
  computer: "Studio",
  dismissLabel: "Don’t Allow",
  waiting: 1,
  clock,
};
const notification = {
  title: "Disk Tool: Erase disk?",
  body: "Are you sure?",
  navigate: `https://relay.example/#prompt/${sampleID(1)}`,
  lang: "en",
  dir: "auto",
  tag: "0123456789abcdef0123456789abcdef",
  silent: false,
  data,
};
const push = (change: object = {}, dataChange: object = {}, outer: object = {}) =>
  JSON.stringify({
    web_push: 8030,
    notification: { ...notification, ...change, data: { ...data, ...dataChange } },
    ...outer,
  });

describe("A push", () => {
  it("says what is shown, and what it is about", () => {
    expect(readPush(push())).toEqual({
      title: "Disk Tool: Erase disk?",
      body: "Are you sure?",
      tag: notification.tag,
      language: "en",
      data: {
        kind: "prompt",
        pairingID: "mac",
        approvalID: sampleID(1),
        computer: "Studio",
        dismissLabel: "Don’t Allow",
        waiting: 1,
        clock,
      },
    });
  });

  it("may be about several prompts, or a test: then it names none, and offers no answer", () => {
    for (const kind of ["several", "test"] as const) {
      expect(readPush(push({ body: undefined, lang: undefined }, { kind }))).toMatchObject({
        body: "",
        data: { kind },
      });
      expect(readPush(push({}, { kind }))?.data).not.toHaveProperty("approvalID");
      expect(readPush(push({}, { kind }))?.data).not.toHaveProperty("dismissLabel");
    }
  });

  it("may have members of a later version", () => {
    expect(readPush(push({ app_badge: 3 }, { later: true }, { mutable: true }))).toBeDefined();
  });

  it.each([
    ["nothing", ""],
    ["no JSON", "{"],
    ["no object", "[]"],
    ["another form", push({}, {}, { web_push: 8031 })],
    ["the form as a text", push({}, {}, { web_push: "8030" })],
    ["no notification", push({}, {}, { notification: undefined })],
    ["no title", push({ title: undefined })],
    ["a blank title", push({ title: " \n" })],
    ["a title that is none", push({ title: 5 })],
    ["a long title", push({ title: "x".repeat(2001) })],
    ["a body that is none", push({ body: [] })],
    ["no tag", push({ tag: undefined })],
    ["a long tag", push({ tag: "x".repeat(65) })],
    ["a kind that is not known", push({}, { kind: "other" })],
    ["data of somebody else", push({}, { quillard: 2 })],
    ["no pairing", push({}, { pairingID: undefined })],
    ["a prompt without a name", push({}, { approvalID: undefined })],
    ["a prompt's name that is none", push({}, { approvalID: "1" })],
    ["no computer", push({}, { computer: undefined })],
    ["a long label", push({}, { dismissLabel: "x".repeat(101) })],
    ["a count that is none", push({}, { waiting: -1 })],
    ["half a count", push({}, { waiting: 1.5 })],
    ["no time", push({}, { clock: undefined })],
    ["a time that is none", push({}, { clock: { epoch: "x", time: 1 } })],
    ["a member twice", push().replace('"web_push"', '"web_push":8030,"web_push"')],
    ["more than a push can hold", push({}, { later: "x".repeat(5000) })],
  ])("that says %s is nothing that can be understood", (_name, text) => {
    expect(readPush(text)).toBeUndefined();
  });

  it("that was shown is known again by what its notification keeps", () => {
    expect(readPushData({ ...data, shownAt: 7 })).toMatchObject({ approvalID: sampleID(1), shownAt: 7 });
    for (const value of [undefined, null, "text", 5, {}, { ...data, kind: "x" }])
      expect(readPushData(value)).toBeUndefined();
  });
});
