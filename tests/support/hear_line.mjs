// hear_line.mjs WAV SCRIPT
//
// Writes the words that the ear of word_ear.mjs hears in a mono file of 16000 Hz; SCRIPT: a JSON list of all
// words that may be said.
import { readFileSync } from 'node:fs';

import { makeListener } from './word_ear.mjs';

const [wav, script] = process.argv.slice(2);
const form = [{ file: wav, base64: readFileSync(wav).toString('base64') }];
makeListener({ words: JSON.parse(readFileSync(script, 'utf8')) })
  .answer('/audio/transcriptions', '', (text) => console.log(JSON.parse(text).text), form);
