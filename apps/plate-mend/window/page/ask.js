// How the page talks to the program.

const token = document.querySelector('meta[name="plate-mend"]').content;
const pause = (milliseconds) => new Promise((done) => setTimeout(done, milliseconds));

class Refusal extends Error {}

async function answerOf(response) {
  if (!response.ok) {
    throw new Refusal((await response.text()).trim());
  }
  return response.json();
}

/** Asks for something, which changes nothing. */
export async function ask(address) {
  return answerOf(await fetch(address, { cache: 'no-store' }));
}

/** Wants something done. */
export async function wish(address, what = {}) {
  return answerOf(await fetch(address, {
    method: 'POST', headers: { 'X-Plate-Mend': token }, body: JSON.stringify(what),
  }));
}

/** Shows each state of the program until it has ended. */
export async function follow(show, end) {
  const mostFailures = 3;
  let version = 0;
  for (let failures = 0; failures < mostFailures;) {
    try {
      const state = await ask(version ? `/state?after=${version}` : '/state');
      version = state.version;
      failures = 0;
      show(state);
      await pause(150);
    } catch (error) {
      failures = error instanceof Refusal ? mostFailures : failures + 1;
      console.debug(error);
      await pause(500);
    }
  }
  end();
}
