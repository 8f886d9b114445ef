import type { Simulator } from '@ostrel/tv/simulator';
import { Failure } from '../../parts/Failure';
import { Shapes } from '../../parts/Shape';
import { addRule, clearWeather, removeRule, setRules } from './actions';
import { RuleForm } from './RuleForm';
import { RuleList } from './RuleList';
import { effectText, isSame, isSpent, presets, whenText } from './rule';
import styles from './Simulator.module.css';
import { useSteering, useWeather } from './steering';

/** What calls and notifications meet on their way: rules by a click or by hand, and what they have done so far. */
export function WeatherCard({ simulator }: { simulator: Simulator }) {
  const weather = useWeather(simulator);
  const { steer, refusal } = useSteering(simulator);
  if (weather === undefined) return <section className={styles.weather} aria-label="Weather" aria-busy="true"><Shapes count={5} /></section>;
  const { rules, seed } = weather;
  return (
    <section className={styles.weather} aria-labelledby="weather">
      <header>
        <h2 id="weather">Weather</h2>
        <span className={styles.note}>{rules.length === 0 ? 'fine' : `${rules.length} ${rules.length === 1 ? 'rule' : 'rules'} · seed ${seed}`}</span>
        <button type="button" onClick={() => void steer(clearWeather)}>All clear</button>
      </header>
      <div className={styles.presets} role="group" aria-label="Weather to click">
        {presets.map(([name, rule]) => {
          const place = rules.findIndex((other) => isSame(other, rule));
          const found = rules[place];
          const isOn = found !== undefined && !isSpent(found);
          const action = isOn ? removeRule(weather, place) : found ? setRules(rules, seed, 'All rules count anew.') : addRule(weather, rule);
          return (
            <button key={name} type="button" className="chip" aria-pressed={isOn} title={[rule.method ?? 'every call', effectText(rule), whenText(rule)].join(', ')}
              onClick={() => void steer(action)}>
              {name}
            </button>
          );
        })}
      </div>
      <RuleList rules={rules} onRemove={(place) => void steer(removeRule(weather, place))} />
      {refusal && <Failure error={refusal.error} call={refusal.action} />}
      <RuleForm onAdd={(rule) => steer(addRule(weather, rule))} weather={weather} />
    </section>
  );
}
