import { asBytes } from './options.js';

/**
 * @import { Converter } from './converter.js'
 * @import { Bytes, Detection, Losses } from './index.js'
 */

/**
 * A TransformStream from bytes of any encoding, cut anywhere, to UTF-8. Made by stream().
 * @extends {TransformStream<Bytes, Uint8Array<ArrayBuffer>>}
 */
export class ConversionStream extends TransformStream {
    #converter;

    /**
     * @ignore
     * @param {Converter} converter @param {AbortSignal} [signal]
     */
    constructor(converter, signal) {
        /** @type {(detection: Detection) => void} */
        let found = () => {};
        /** @type {(reason: unknown) => void} */
        let failed = () => {};
        /** @type {Promise<Detection>} */
        const detection = new Promise((resolve, reject) => {
            found = resolve;
            failed = reject;
        });
        detection.catch(() => {}); // whoever does not ask need not handle it
        let ended = () => {};
        /**
         * @param {TransformStreamDefaultController<Uint8Array<ArrayBuffer>>} controller
         * @param {() => Uint8Array<ArrayBuffer>} step
         */
        const give = (controller, step) => {
            try {
                const output = step();
                if (output.length > 0)
                    controller.enqueue(output);
                if (converter.detection !== null)
                    found(converter.detection);
            } catch (error) {
                failed(error);
                ended();
                throw error;
            }
        };
        super({
            start(controller) {
                const stop = () => {
                    controller.error(signal?.reason);
                    failed(signal?.reason);
                    ended();
                };
                ended = () => {
                    signal?.removeEventListener('abort', stop);
                    converter.close();
                };
                signal?.addEventListener('abort', stop);
            },
            transform: (piece, controller) => give(controller, () => converter.write(asBytes(piece, 'a piece'))),
            flush(controller) {
                give(controller, () => converter.finish());
                ended();
            },
        });
        this.#converter = converter;
        /** @readonly what the text is, as soon as that stands; rejected when the stream fails first */
        this.detection = detection;
    }

    /** @returns {Losses} what was lost so far */
    get losses() {
        return this.#converter.losses;
    }
}
