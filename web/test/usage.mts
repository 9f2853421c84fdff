// How a program in TypeScript uses the package. It is compiled, not run: every line marked as an error must be one.
import {
    CharsetError, load, type Conversion, type Detection, type Encoding, type LossKind, type Reading,
} from 'zucharset';

const charset = await load({ log: (level: number, line: string) => console.log(level.toFixed(), line.length) });
const bytes = new Uint8Array(4);

const found: Detection = charset.detect(bytes, { prefer: ['ru', 'windows-1251'], sample: 65536 });
const next: Reading | undefined = found.readings[1];
const label: string | null = next?.label ?? found.label;
if (label !== null)
    new TextDecoder(label).decode(bytes);
if (found.kind === 'unsupported' && found.decidedBy === 'form')
    console.log(found.encoding?.toUpperCase(), found.codeType.toFixed(), found.sample.offset.toFixed());
// @ts-expect-error -- no such kind
if (found.kind === 'txt')
    console.log();

const { text, losses }: Conversion = charset.convert(bytes.buffer, { from: 'gbk', mark: 'strip' });
const kinds: LossKind[] = losses.places.map(({ kind }) => kind);
console.log(text.length, kinds, losses.kinds.replaced.toFixed());
// @ts-expect-error -- a string has no encoding
charset.convert('text');
// @ts-expect-error -- a misspelt option
charset.detect(bytes, { prefers: 'ru' });

try {
    await charset.convertAsync(new Blob([bytes]), { signal: AbortSignal.timeout(1000), onProgress: (n) => n.toFixed() });
} catch (error) {
    if (error instanceof CharsetError && error.code === 'unsupported')
        console.log(error.detection?.label);
}

const stream = charset.stream({ from: 22 });
const response = new Response(bytes);
const decoded: ReadableStream<string> | undefined = response.body?.pipeThrough(stream).pipeThrough(new TextDecoderStream());
console.log(decoded, (await stream.detection).language, stream.losses.count);

{
    using converter = charset.open();
    const utf8: Uint8Array = converter.write(bytes);
    console.log(utf8.length, converter.finish().length, converter.detection?.sure, converter.losses.lost);
}

const encodings: Encoding[] = charset.encodings();
console.log(encodings[0].name, charset.languages()[0].code, charset.preview(bytes, 'koi8-r', 3)?.join());
console.log(charset.explain(bytes).scores[0].score.toFixed());
