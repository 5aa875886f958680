// api_peer.mjs CERTIFICATE KEY [PORT]
//
// A server over TLS that a test steers: every request and live event is reported as a line of JSON
// on standard output, with its time in milliseconds since the epoch, and nothing is answered before a
// command on standard input says so:
//   {do:"answer", id, status, headers, base64}   {do:"drop", id, cut} (cut: behind the headers)
//   and those of ws_peer.mjs;
//   {do:"serve", …} answers by itself from then on: api_service.mjs; without phrases no more;
//   {do:"listen", …} hears the words that are said and reports no requests: word_ear.mjs.
// Ends with its standard input.
import { readFileSync } from 'node:fs';
import { createServer } from 'node:https';
import { createInterface } from 'node:readline';

import { makeService } from './api_service.mjs';
import { makeListener } from './word_ear.mjs';
import { attachLive } from './ws_peer.mjs';

const [certificate, key, port = '0'] = process.argv.slice(2);
const report = (event) =>
  process.stdout.write(JSON.stringify({ ...event, at: performance.timeOrigin + performance.now() }) + '\n');
const open = new Map();
let last = 0;
let service = null;

async function formParts(body, type) {
  const form = await new Response(body, { headers: { 'content-type': type } }).formData();
  return Promise.all([...form].map(async ([name, value]) => typeof value === 'string'
    ? { name, value }
    : { name, file: value.name, type: value.type,
        base64: Buffer.from(await value.arrayBuffer()).toString('base64') }));
}

async function receive(request, response) {
  const id = ++last;
  open.set(id, response);
  response.on('close', () => { if (open.delete(id)) report({ event: 'gone', id }); });
  const chunks = [];
  for await (const chunk of request) chunks.push(chunk);
  const body = Buffer.concat(chunks);
  const { method, url: path, headers } = request;
  const type = headers['content-type'] ?? '';
  const form = type.startsWith('multipart/form-data') ? await formParts(body, type) : undefined;
  if (!service?.isQuiet) report({ event: 'request', id, method, path, headers, body: form ? '' : body.toString(), form });
  service?.answer(path, body.toString(), (text) => { open.delete(id); response.end(text); }, form);
}

const server = createServer(
  { cert: readFileSync(certificate), key: readFileSync(key) },
  (request, response) => receive(request, response).catch(() => {}));
server.on('tlsClientError', () => {});

const commands = {
  ...attachLive(server, report, (text, write, ws) => service?.answerLive(text, write, ws)),
  serve: (script) => { service = script.phrases ? makeService(script) : null; },
  listen: (command) => { service = makeListener(command); },
  answer: ({ id, status, headers, base64 }) => {
    const response = open.get(id);
    open.delete(id);
    response?.writeHead(status, headers).end(Buffer.from(base64, 'base64'));
  },
  drop: ({ id, cut }) => {
    const response = open.get(id);
    if (cut) response?.writeHead(200, { 'content-length': 99 }).write('{', () => response.destroy());
    else response?.destroy();
  },
};
createInterface({ input: process.stdin })
  .on('line', (line) => { const command = JSON.parse(line); commands[command.do](command); })
  .on('close', () => process.exit(0));
server.listen(Number(port), '127.0.0.1', () => report({ event: 'listening', port: server.address().port }));
