// The live side of the API peer: an independent WebSocket implementation, steered by the test.
//
// {do:"live", mode} says how connections are met from now on: "accept", "trickle" (every byte is
// written by itself), "reject" (401 and long headers), "busy" (503), "plain" (hang up before TLS, also
// what is no session), "mute" (no answer), "hangup" (instead of an answer), "half" (hang up within the
// answer). The others act on the newest session, or on number `session` of them: "send" {text, fin,
// mask}, "ping" {data}, "close", "terminate", "raw" {base64}, "deaf" (stop reading), "hush" (stop
// answering by itself). "cut" ends every connection; "forget" counts sessions from 0 again.
import { WebSocketServer } from '/usr/share/nodejs/ws/wrapper.mjs'; // Debian's node-ws

const rejection = 'HTTP/1.1 401 Unauthorized\r\nX-Padding: ' + 'x'.repeat(200) + '\r\n\r\n';
const busy = 'HTTP/1.1 503 Service Unavailable\r\n\r\n';

// Writes one byte per turn of the event loop, in order.
function trickle(socket) {
  const write = socket.write.bind(socket);
  const waiting = [];
  const step = () => {
    if (waiting.length === 0 || socket.destroyed) return;
    write(waiting.shift());
    setImmediate(step);
  };
  socket.write = (data) => {
    const idle = waiting.length === 0;
    for (const byte of Buffer.from(data)) waiting.push(Buffer.from([byte]));
    if (idle) step();
    return true;
  };
}

export function attachLive(server, report, answer) {
  const sessions = new WebSocketServer({ noServer: true });
  const adopted = [];
  const sockets = new Set();
  const hushed = new Set();
  let mode = 'accept';
  const open = ({ session = adopted.length - 1 }) => adopted[session];

  function adopt(ws) {
    const session = adopted.push(ws) - 1;
    ws.on('message', (data) => {
      const text = data.toString();
      const taken = !hushed.has(ws) && answer(text, (reply) => ws.send(reply), ws);
      if (!taken) report({ event: 'text', text, session });
    });
    ws.on('pong', (data) => report({ event: 'pong', data: data.toString() }));
    ws.on('close', () => report({ event: 'closed', session }));
    ws.on('error', (error) => report({ event: 'fault', text: error.message }));
  }

  server.on('connection', (socket) => {
    report({ event: 'connection' });
    sockets.add(socket);
    socket.on('close', () => sockets.delete(socket));
    socket.on('error', () => {});
    if (mode === 'plain') socket.destroy();
  });
  server.on('upgrade', (request, socket, head) => {
    report({ event: 'upgrade', path: request.url, headers: request.headers });
    socket.on('error', () => {});
    if (mode === 'mute') return;
    if (mode === 'hangup') socket.destroy();
    else if (mode === 'half') socket.write('HTTP/1.1 101 Switching', () => socket.destroy());
    else if (mode === 'reject') socket.end(rejection);
    else if (mode === 'busy') socket.end(busy);
    else {
      if (mode === 'trickle') trickle(socket);
      sessions.handleUpgrade(request, socket, head, adopt);
    }
  });

  return {
    live: (command) => { mode = command.mode; report({ event: 'live', mode }); },
    send: ({ text, fin = true, mask = false, session }) => open({ session }).send(text, { fin, mask }),
    ping: (command) => open(command).ping(command.data),
    close: (command) => open(command).close(1001, 'going away'),
    terminate: (command) => open(command).terminate(),
    raw: (command) => open(command)._socket.write(Buffer.from(command.base64, 'base64')),
    deaf: (command) => open(command)._socket.pause(),
    hush: (command) => hushed.add(open(command)),
    forget: () => { adopted.length = 0; },
    cut: () => sockets.forEach((socket) => socket.destroy()),
  };
}
