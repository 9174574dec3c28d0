// Builds the page and its server into build/web; with --tests the browser tests, too.
import { build } from "esbuild";
import { cpSync, existsSync, mkdirSync, readdirSync, rmSync, symlinkSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const out = join(here, "../build/web");
const node = {
    bundle: true, platform: "node", target: "node18", format: "esm", logLevel: "warning", sourcemap: true,
    // ws is CommonJS and asks for Node's modules by require
    banner: { js: "import { createRequire as $cr } from 'node:module'; const require = $cr(import.meta.url);" },
};

mkdirSync(join(out, "page"), { recursive: true });
await build({
    entryPoints: [join(here, "page/main.tsx")], outfile: join(out, "page/page.js"),
    bundle: true, minify: true, sourcemap: true, target: "es2022", format: "esm", logLevel: "warning",
    jsx: "automatic", jsxImportSource: "preact", define: { "process.env.NODE_ENV": '"production"' },
});
for (const file of ["index.html", "style.css"]) cpSync(join(here, "page", file), join(out, "page", file));
await build({ ...node, entryPoints: [join(here, "server/start.ts")], outfile: join(out, "start.mjs") });

if (process.argv.includes("--tests")) {
    rmSync(join(out, "tests"), { recursive: true, force: true });
    await build({
        ...node, outdir: join(out, "tests"), outExtension: { ".js": ".mjs" },
        entryPoints: readdirSync(join(here, "tests")).filter((name) => name.endsWith(".test.ts") || ["run.ts", "day.ts", "shots.ts", "measure.ts", "large.ts"].includes(name))
            .map((name) => join(here, "tests", name)),
        external: ["playwright-core", "esbuild"], splitting: true,
    });
    // where the tests find what is not bundled
    if (!existsSync(join(out, "node_modules"))) symlinkSync(join(here, "node_modules"), join(out, "node_modules"));
}
