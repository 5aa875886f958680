// The API at work, for runs that nobody steers: every request and every phrase of the live session is
// answered `delay` milliseconds after it came. The phrases are heard in the order of the script, and
// each has its caption; `voice` is the PCM of every spoken caption, base64.
export function makeService({ delay, phrases, voice = '' }) {
  let next = 0;
  const hear = () => phrases[next++ % phrases.length].heard;
  const captionOf = (input) => phrases.find(({ heard }) => input.endsWith('New text: ' + heard))?.caption ?? '';
  const transcription = 'conversation.item.input_audio_transcription.';

  function reply(path, body) {
    if (path.endsWith('/audio/transcriptions')) return JSON.stringify({ text: hear() });
    if (path.endsWith('/audio/speech')) return Buffer.from(voice, 'base64');
    if (!path.endsWith('/responses')) return '{}';
    const text = captionOf(JSON.parse(body).input);
    return JSON.stringify({ output: [{ content: [{ type: 'output_text', text }] }] });
  }

  function answerLive(message, send) {
    const { type } = JSON.parse(message);
    if (type === 'session.update') send({ type: 'session.updated' });
    if (type !== 'input_audio_buffer.commit') return;
    const transcript = hear();
    send({ type: transcription + 'delta', delta: transcript });
    send({ type: transcription + 'completed', transcript });
  }

  return {
    answer: (path, body, write) => setTimeout(() => write(reply(path, body)), delay),
    answerLive: (message, write) =>
      answerLive(message, (event) => setTimeout(() => write(JSON.stringify(event)), delay)),
  };
}
