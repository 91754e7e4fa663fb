import { describe, expect, it } from "vitest";
import { buttonKind, cautionOf } from "./labels";

describe("Why a grant is not to be given lightly", () => {
  const asks = (label: string, title = "Terminal", ...lines: string[]) => cautionOf(label, title, lines);

  it.each([
    "Delete",
    "Delete All",
    "Erase",
    "Remove",
    "Discard Changes",
    "Don’t Save",
    "Don't save",
    "Close without Saving",
    "Replace",
    "Overwrite",
    "Uninstall",
    "Empty Trash",
    "Force Quit",
    "Kill",
    "Reset",
    "Forget",
    "Löschen",
    "Endgültig löschen",
    "Supprimer",
    "Eliminar",
    "Usuń",
    "Удалить",
    "削除",
  ])("%s destroys, whatever the prompt says", (label) => {
    expect(asks(label)).toBe("destroys");
  });

  it.each([
    "Always Allow",
    "Always",
    "Allow always",
    "Remember",
    "Immer erlauben",
    "Toujours",
    "Siempre",
    "Всегда",
  ])("%s lasts", (label) => {
    expect(asks(label)).toBe("lasting");
  });

  it.each([
    ["OK", "Erase disk?"],
    ["OK", "Trash", "Delete 3 items?"],
    ["Yes", "Files", "This cannot be undone."],
    ["Continue", "Backup", "Older copies will be deleted."],
    ["Allow", "Move to the bin", "Do you want to remove “a.txt”?"],
    ["OK", "Papierkorb", "3 Dateien löschen?"],
  ])("%s in a prompt that asks for it destroys: %s %s", (label, title, line = "") => {
    expect(asks(label, title, line)).toBe("destroys");
  });

  it.each([
    ["OK", "The authenticity of host 'example.org (192.0.2.1)' can't be established."],
    ["Yes", "ED25519 key fingerprint is SHA256:abc."],
    ["Connect", "The host key is not known."],
    ["Continue", "The certificate of mail.example cannot be verified."],
    ["Trust", "The identity of the server is unknown."],
  ])("%s to an identity that nobody knows is no small thing: %s", (label, line) => {
    expect(asks(label, "ssh-askpass", line)).toBe("stranger");
  });

  it.each([
    ["Allow", "“Terminal” would like to access files in your Documents folder."],
    ["Install", "Install 3 updates and restart?", "Documents that are open will be saved."],
    ["OK", "Camera", "You can remove this permission in Settings later."],
    ["Allow", "Notes", "It keeps what you write, and clears nothing."],
    ["OK", "The format of this file is new.", "Open it all the same?"],
    ["Connect", "Join “Café”?"],
    ["Install", "Trust this certificate?"],
  ])("%s is none: %s", (label, title, line = "") => {
    expect(asks(label, title, line)).toBeUndefined();
  });

  it("is never asked of what only dismisses", () => {
    for (const label of ["Cancel", "Deny", "Don’t Allow", "No", "Not Now"])
      expect(buttonKind(label)).toBe("dismiss");
  });
});
