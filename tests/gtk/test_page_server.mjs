// The page server of the web view's tests: answers the status probe, prints its port, and serves
//   frames  frames that post on the message channel, then tell the top page: same-origin,
//           sandboxed, written by the top page (about:blank), and srcdoc, plain and sandboxed;
//   silent  a page request that is never answered.
import http from 'node:http';
import { STATUS } from '../../server/lib/page-server.mjs';

// Posts a script-error report named `errorType`, then tells the top page how that went.
const postFromFrame = (errorType) => `<script>
  let outcome = ${JSON.stringify(errorType)};
  try { window.webkit.messageHandlers.omvane.postMessage({ action: 'diagnostic', event: 'script-error', errorType: outcome }); }
  catch (error) { outcome += ' failed: ' + error.name; }
  parent.postMessage(outcome, '*');
</script>`;
const attribute = (html) => html.replaceAll('&', '&amp;').replaceAll('"', '&quot;');

const pages = {
  '/': `<!doctype html><meta charset="utf-8"><title>frames</title>
<script>
  window.framesPosted = [];
  addEventListener('message', (event) => window.framesPosted.push(event.data));
</script>
<iframe src="/frame"></iframe>
<iframe sandbox="allow-scripts" src="/sandboxed"></iframe>
<iframe srcdoc="${attribute(postFromFrame('URIError'))}"></iframe>
<iframe sandbox="allow-scripts" srcdoc="${attribute(postFromFrame('EvalError'))}"></iframe>
<iframe id="written"></iframe>
<script>
  const written = document.getElementById('written').contentDocument;
  written.write(${JSON.stringify(postFromFrame('SyntaxError')).replaceAll('</', '<\\/')});
  written.close();
</script>`,
  '/frame': postFromFrame('TypeError'),
  '/sandboxed': postFromFrame('RangeError'),
};

const server = http.createServer((request, response) => {
  if (request.url === '/api/status') {
    response.writeHead(200, { 'Content-Type': 'application/json' }).end(JSON.stringify(STATUS.local));
  } else if (process.argv[2] === 'frames') {
    response.writeHead(pages[request.url] ? 200 : 404, { 'Content-Type': 'text/html; charset=utf-8' }).end(pages[request.url]);
  }
});
server.listen(0, '127.0.0.1', () => console.log(server.address().port));
