// The API with an ear of its own: it hears the words of spoken_words.h, each a tone of 240 ms, on both
// roads, and writes "w7" for the word 7 and "cut" for what is shorter than a word. A translation is its
// text. A word that a commit falls into belongs to the phrase after it, as a recogniser has it.
//
// With the `words` of a script it hears voices whose words bear high tones as marks, and writes the words
// of the script: the numbers of the tones come round, and the next is the one near the last. Each answer
// takes `delay` milliseconds.
const vocabulary = 80;
// Hertz of the word 0 and from one to the next; the least level; seconds of silence that end a word, and of the
// shortest one: a line that is heard in real time may stumble.
const plainTones = { first: 200, step: 12, least: 500, quiet: 0.03, shortest: 0.22 };
const markTones = { first: 5000, step: 24, least: 1200, quiet: 0.045, shortest: 0.12 }; // above every voice

// Lets marks pass and takes voices away: two Butterworth stages (biquads after Bristow-Johnson).
function markFilter(rate) {
  const turn = 2 * Math.PI * 4300 / rate;
  const slope = Math.sin(turn) / Math.SQRT2;
  const gain = (1 + Math.cos(turn)) / 2 / (1 + slope);
  const [back1, back2] = [-2 * Math.cos(turn) / (1 + slope), (1 - slope) / (1 + slope)];
  const stage = () => {
    let [x1, x2, y1, y2] = [0, 0, 0, 0];
    return (x) => {
      const y = gain * (x - 2 * x1 + x2) - back1 * y1 - back2 * y2;
      [x1, x2, y1, y2] = [x, x1, y, y1];
      return y;
    };
  };
  const [first, second] = [stage(), stage()];
  return (sample) => second(first(sample));
}

// How loud a tone is in the samples (Goertzel).
function powerOf(hertz, rate, samples) {
  const turn = 2 * Math.cos(2 * Math.PI * hertz / rate);
  let [before, last] = [0, 0];
  for (const sample of samples) [before, last] = [last, sample + turn * last - before];
  return before * before + last * last - turn * before * last;
}

class Ear {
  words = [];
  at = 0; // samples heard
  run = null; // the word being heard: its bounds, its samples

  constructor(rate, write, isMarked) {
    this.rate = rate;
    this.write = write; // what stands for the word of a number
    this.tones = isMarked ? markTones : plainTones;
    this.filter = isMarked ? markFilter(rate) : (sample) => sample;
  }

  hear(pcm) {
    for (let i = 0; i + 1 < pcm.length; i += 2, ++this.at) this.hearSample(this.filter(pcm.readInt16LE(i)));
  }

  hearSample(sample) {
    if (Math.abs(sample) > this.tones.least) {
      this.run ??= { from: this.at, to: this.at, samples: [] };
      this.run.to = this.at;
    } else if (this.run && this.at - this.run.to > this.rate * this.tones.quiet) {
      this.endWord();
    }
    this.run?.samples.push(sample);
  }

  endWord() {
    if (!this.run) return;
    const { from, to, samples } = this.run;
    this.words.push(to - from < this.tones.shortest * this.rate ? 'cut' : this.write(this.loudest(samples)));
    this.run = null;
  }

  loudest(samples) {
    const { first, step } = this.tones;
    const power = Array.from({ length: vocabulary }, (_, number) => powerOf(first + step * number, this.rate, samples));
    return power.indexOf(Math.max(...power));
  }

  take() { return this.words.splice(0).join(' '); }
}

// Of all words with this number the one that was not said long ago nor is said much later.
function makeReader(script) {
  let last = -1;
  return (number) => {
    const earliest = last - 50;
    const turns = Math.floor((earliest - number + vocabulary - 1) / vocabulary);
    const place = number + turns * vocabulary;
    last = Math.max(last, place);
    return script[place] ?? '?';
  };
}

export function makeListener({ words, delay = 0 }) {
  const ears = new WeakMap(); // by session
  const write = words ? makeReader(words) : (number) => `w${number}`;
  const later = (step) => delay ? setTimeout(step, delay) : step();

  function transcribe(form) {
    const wav = Buffer.from(form.find(({ file }) => file).base64, 'base64');
    const ear = new Ear(16000, write, !!words);
    ear.hear(wav.subarray(44));
    ear.endWord();
    return ear.take();
  }

  function reply(path, body, form) {
    if (path.endsWith('/audio/transcriptions')) return JSON.stringify({ text: transcribe(form) });
    if (!path.endsWith('/responses')) return '{}';
    const text = JSON.parse(body).input.split('New text: ')[1];
    return JSON.stringify({ output: [{ content: [{ type: 'output_text', text }] }] });
  }

  function answerLive(message, send, session) {
    const { type, audio } = JSON.parse(message);
    if (!ears.has(session)) ears.set(session, new Ear(24000, write, !!words));
    const ear = ears.get(session);
    if (type === 'session.update') send(JSON.stringify({ type: 'session.updated' }));
    if (type === 'input_audio_buffer.append') ear.hear(Buffer.from(audio, 'base64'));
    if (type !== 'input_audio_buffer.commit') return true;
    const completed = { type: 'conversation.item.input_audio_transcription.completed', transcript: ear.take() };
    later(() => send(JSON.stringify(completed)));
    return true;
  }

  return {
    answer: (path, body, write, form) => {
      const text = reply(path, body, form); // heard at once, in the order in which it came
      later(() => write(text));
    },
    answerLive,
    isQuiet: true,
  };
}
