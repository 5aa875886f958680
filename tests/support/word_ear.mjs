// The API with an ear of its own: it hears the words of spoken_words.h, each a tone of 240 ms, on both
// roads, and writes "w7" for the word 7 and "cut" for what is shorter than a word. A translation is its
// text. A word that a commit falls into belongs to the phrase after it, as a recogniser has it.
const wordRate = (index) => 200 + 12 * index;

class Ear {
  words = [];
  at = 0; // samples heard
  run = null; // the word being heard: its bounds, its rising zero crossings

  constructor(rate) { this.rate = rate; }

  hear(pcm) {
    for (let i = 0; i + 1 < pcm.length; i += 2, ++this.at) this.hearSample(pcm.readInt16LE(i));
  }

  hearSample(sample) {
    if (Math.abs(sample) > 500) {
      this.run ??= { from: this.at, to: this.at, first: -1, last: -1, count: -1 };
      this.run.to = this.at;
    } else if (this.run && this.at - this.run.to > this.rate * 0.03) {
      this.endWord();
    }
    if (this.run && this.before < 0 && sample >= 0) {
      if (this.run.first < 0) this.run.first = this.at;
      this.run.last = this.at;
      this.run.count += 1;
    }
    this.before = sample;
  }

  endWord() {
    if (!this.run) return;
    const { from, to, first, last, count } = this.run;
    const rate = count * this.rate / (last - first);
    this.words.push(to - from < 0.22 * this.rate ? 'cut' : `w${Math.round((rate - wordRate(0)) / 12)}`);
    this.run = null;
  }

  take() { return this.words.splice(0).join(' '); }
}

function transcribe(form) {
  const wav = Buffer.from(form.find(({ file }) => file).base64, 'base64');
  const ear = new Ear(16000);
  ear.hear(wav.subarray(44));
  ear.endWord();
  return ear.take();
}

export function makeListener() {
  const ears = new WeakMap(); // by session

  function answer(path, body, write, form) {
    if (path.endsWith('/audio/transcriptions')) return write(JSON.stringify({ text: transcribe(form) }));
    if (!path.endsWith('/responses')) return write('{}');
    const text = JSON.parse(body).input.split('New text: ')[1];
    return write(JSON.stringify({ output: [{ content: [{ type: 'output_text', text }] }] }));
  }

  function answerLive(message, send, session) {
    const { type, audio } = JSON.parse(message);
    if (!ears.has(session)) ears.set(session, new Ear(24000));
    const ear = ears.get(session);
    if (type === 'session.update') send(JSON.stringify({ type: 'session.updated' }));
    if (type === 'input_audio_buffer.append') ear.hear(Buffer.from(audio, 'base64'));
    if (type !== 'input_audio_buffer.commit') return true;
    const transcription = 'conversation.item.input_audio_transcription.completed';
    send(JSON.stringify({ type: transcription, transcript: ear.take() }));
    return true;
  }

  return { answer, answerLive, isQuiet: true };
}
