// The live side of the API peer: an independent WebSocket implementation, steered by the test.
//
// {do:"live", mode} says how connections are met from now on: "accept", "trickle" (every byte is
// written by itself), "reject" (401 and long headers), "plain" (hang up before TLS), "mute" (no
// answer), "hangup" (instead of an answer), "half" (hang up within the answer). The others act on
// the open session: "send" {text, fin, mask}, "ping" {data}, "close", "terminate", "raw" {base64},
// "deaf" (stop reading).
import { WebSocketServer } from '/usr/share/nodejs/ws/wrapper.mjs'; // Debian's node-ws

const rejection = 'HTTP/1.1 401 Unauthorized\r\nX-Padding: ' + 'x'.repeat(200) + '\r\n\r\n';

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
  let mode = 'accept';
  let session = null;

  function adopt(ws) {
    session = ws;
    ws.on('message', (data) => {
      report({ event: 'text', text: data.toString() });
      answer(data.toString(), (text) => ws.send(text));
    });
    ws.on('pong', (data) => report({ event: 'pong', data: data.toString() }));
    ws.on('close', () => report({ event: 'closed' }));
    ws.on('error', (error) => report({ event: 'fault', text: error.message }));
  }

  server.on('connection', (socket) => {
    report({ event: 'connection' });
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
    else {
      if (mode === 'trickle') trickle(socket);
      sessions.handleUpgrade(request, socket, head, adopt);
    }
  });

  return {
    live: (command) => { mode = command.mode; report({ event: 'live', mode }); },
    send: ({ text, fin, mask }) => session.send(text, { fin, mask }),
    ping: ({ data }) => session.ping(data),
    close: () => session.close(1001, 'going away'),
    terminate: () => session.terminate(),
    raw: ({ base64 }) => session._socket.write(Buffer.from(base64, 'base64')),
    deaf: () => session._socket.pause(),
  };
}
