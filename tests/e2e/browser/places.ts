/** A variable of the environment that the tests cannot do without. CTest gives them all. */
function required(name: string): string {
  const value = process.env[name];
  if (value === undefined || value === "")
    throw new Error(`${name} is not set: run these tests through ctest`);
  return value;
}

/** Where everything is that the tests need: programs as they were built, and folders of the private desktop. */
export const places = {
  agentProgram: required("QUILLARD_E2E_AGENT"),
  agentInformation: required("QUILLARD_E2E_INFORMATION"),
  relayProgram: required("QUILLARD_E2E_RELAY"),
  page: required("QUILLARD_E2E_PAGE"),
  samples: required("QUILLARD_E2E_SAMPLES"),
  hand: required("QUILLARD_E2E_HAND"),
  chromium: process.env["QUILLARD_E2E_CHROMIUM"] ?? "/usr/bin/chromium",
  home: required("HOME"),
  temporary: required("TMPDIR"),
} as const;
