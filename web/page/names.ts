import type { Settings } from './messages.js';

const stemOf = (name: string) => name.replace(/\.[^.]*$/, '') || 'picture';

export function resultName(name: string, extension: string): string {
  return `${stemOf(name)}-tlux.${extension}`;
}

/** A word, quoted for shells. */
function quote(word: string): string {
  const isPlain = /^[\w.,:/@%+=][\w.,:/@%+=-]*$/.test(word);
  return isPlain ? word : `'${word.replaceAll("'", `'\\''`)}'`;
}

/** The command that produces the same result. */
export function commandFor(name: string, settings: Settings): string {
  const { strength, colour, tones } = settings;
  const tonesOption = tones === 'exact' ? '--exact' : `--colour ${colour}`;
  const input = quote(name.startsWith('-') ? `./${name}` : name);
  const output = quote(resultName(name.startsWith('-') ? `./${name}` : name, 'jpg'));
  return `tlux enhance ${input} -o ${output} --strength ${strength} ${tonesOption}`;
}
