/** `./dev bench page` takes the time that figures for people need; a test takes what it needs to fail. */
export const isBench = process.env.OSTREL_BENCH === '1';
