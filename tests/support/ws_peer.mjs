// The live side of the API peer: an independent WebSocket implementation, steered by the test.
//
// Commands: {do:"live", mode} says how the next connections are met:
//   accept    upgrade them
//   trickle   upgrade them and write every byte by itself
//   reject    answer the upgrade with 401 and headers longer than the client shows
//   plain     no TLS: hang up as soon as the connection is made
//   mute      never answer the upgrade
//   hangup    hang up instead of answering the upgrade
//   half      hang up in the middle of the answer
// {do:"send", text, fin, mask}, {do:"ping", data}, {do:"close"}, {do:"terminate"}, {do:"raw",
// base64}, {do:"deaf"} act on the open session.
import { createRequire } from 'node:module';

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
  socket.write = (data, encoding) => {
    const bytes = Buffer.from(data, typeof encoding === 'string' ? encoding : undefined);
    const idle = waiting.length === 0;
    for (const byte of bytes) waiting.push(Buffer.from([byte]));
    if (idle) step();
    return true;
  };
}

export function attachLive(server, folder, report) {
  const { WebSocketServer } = createRequire(folder + '/')('ws');
  const sessions = new WebSocketServer({ noServer: true });
  let mode = 'accept';
  let session = null;

  function adopt(ws) {
    session = ws;
    ws.on('message', (data, binary) => report({ event: 'text', text: data.toString(), binary }));
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
    live: (command) => {
      mode = command.mode;
      report({ event: 'live', mode });
    },
    send: ({ text, fin, mask }) => session.send(text, { fin: fin ?? true, mask: mask ?? false }),
    ping: ({ data }) => session.ping(data),
    close: () => session.close(1001, 'going away'),
    terminate: () => session.terminate(),
    raw: ({ base64 }) => session._socket.write(Buffer.from(base64, 'base64')),
    deaf: () => session._socket.pause(),
  };
}
