import { defineConfig } from "vite";

// The phone in a terminal, as one file that needs nothing but Node.
export default defineConfig({
  publicDir: false,
  // What the WebSocket library would load if it were there: faster versions of what it has itself.
  define: { "process.env.WS_NO_BUFFER_UTIL": '"1"', "process.env.WS_NO_UTF_8_VALIDATE": '"1"' },
  ssr: { noExternal: true },
  build: {
    ssr: "src/terminal/main.ts",
    target: "node18",
    outDir: "dist/terminal",
    emptyOutDir: true,
    rollupOptions: { output: { entryFileNames: "quillard-phone.mjs", inlineDynamicImports: true } },
  },
});
