import { defineConfig } from "vite";

// The page is served under "default-src 'self'": nothing may be inlined, neither scripts nor data addresses.
export default defineConfig({
  build: {
    target: "es2021",
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
    chunkSizeWarningLimit: 1000, // dash.js and hls.js, each fetched by itself and only when a film needs it
  },
  server: {
    // `npm run dev` beside a running Kinora: KINORA=http://127.0.0.1:8080 npm run dev
    proxy: { "/webapi": { target: process.env.KINORA ?? "http://127.0.0.1:8080" } },
  },
});
