// Checks a start-up log for a launch, a finished navigation, and page metrics that show the
// console page ran inside the native host and rendered its root.
import { readFileSync } from 'node:fs';

const lines = readFileSync(process.argv[2], 'utf8').trim().split('\n').map((line) => JSON.parse(line));
const problems = [];
const launch = lines[0];
if (launch?.event !== 'launch' || !Number.isInteger(launch.pid)) problems.push('the first line is not "launch" with a pid');
if (!lines.some((line) => line.event === 'navigation-finished')) problems.push('no "navigation-finished"');
const metrics = lines.find((line) => line.event === 'web-metrics' && line.stage === 'didFinish+1s');
if (!metrics) problems.push('no "web-metrics" one second after the load');
else {
  if (metrics.nativeType !== 'boolean') problems.push(`the page did not see the native flags (${metrics.nativeType})`);
  if (!(metrics.rootChildren > 0)) problems.push('the page rendered nothing into #root');
  if (metrics.readyState !== 'complete') problems.push(`the page is ${metrics.readyState}`);
}
for (const line of lines) {
  const keys = Object.keys(line);
  if (keys.join() !== [...keys].sort().join()) problems.push(`keys not sorted in ${line.event}`);
}
if (problems.length) {
  console.error(problems.join('\n'));
  process.exit(1);
}
