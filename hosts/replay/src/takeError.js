// An error whose text is meant for the person who opened the page: what is wrong with the take, in one sentence.

export class TakeError extends Error {
    constructor(message) {
        super(message);
        this.name = 'TakeError';
    }
}
